#include "testing/datafiles.h"

#include <QTest>

#include <tuple>

using namespace px40;

namespace {

const QByteArray Realtime =
    "2\r\n9600,5400,0\r\n00,00,00,05\r\nTrue,,,,\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n"
    "10:00:00,1.0023,,,\r\n10:00:05,1.0031,,,\r\n10:00:10,+OL,,,\r\n,,,,\r\n";

/// Whether what is read from then on is written as it was.
bool StaysAsWritten(const DataFile &file)
{
    const QByteArray once = Written(file);
    const Result<DataFile> again = Read(once);
    return again && Written(*again) == once;
}

/// The example with one of its lines (from 1) replaced.
QByteArray WithLine(int number, const QByteArray &line)
{
    QList<QByteArray> lines = Realtime.split('\n');
    lines[number - 1] = line + '\r';
    return lines.join('\n');
}

} // namespace

class DataFileTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void ReadsTheExample()
    {
        for (const bool lineFeedsAlone : {false, true}) {
            QByteArray bytes = Realtime;
            if (lineFeedsAlone)
                bytes.replace("\r\n", "\n");
            const Result<DataFile> file = Read(bytes);
            QVERIFY(file);
            QCOMPARE(file->readings.statistics.validCount, 2);
            QCOMPARE(file->readings.statistics.maxRow, 2);
            QVERIFY(!file->readings.series.At(3).HasReading());
            QCOMPARE(file->readings.series.At(3).maximum, 1.0031F);
            QCOMPARE(file->readings.series.At(2).maximum, 1.0023F); // as it was before that sample
            QCOMPARE(Written(*file), Realtime);
        }
    }

    void WritesWhatItRead()
    {
        const QByteArray rest = "\r\n100,200,2\r\n,,,%\r\nTrue,,,,\r\n32767\r\nFalse,3,2\r\n"
                                "False,-60000,60000,5,2\r\nNo.1,1.5,VDC,2,mA\r\nNo.2,-----,,,\r\n,,,,\r\n";
        for (const QByteArray &bytes :
             {"0" + QByteArray(rest).replace('%', "10"), // with its interval
              "4" + QByteArray(rest).replace('%', ""), WithLine(4, "False,99,23,59,59"),
              WithLine(8, "10:00:00,1.0023,\xb0"
                          "C,\xb5\xff,\x80 x ")}) {
            const Result<DataFile> file = Read(bytes);
            QVERIFY2(file, bytes.constData());
            QCOMPARE(Written(*file), bytes);
        }
    }

    void EmptyLinesAreRowsButNoSamples()
    {
        const QByteArray rows = "a,1,,,\r\n\r\nlost,,x,,\r\nb,2,,,\r\n";
        for (const char *const kind : {"0", "2", "4"}) {
            const Result<DataFile> file = Read(WithLine(1, kind).chopped(4 + 2) + rows);
            QVERIFY(file);
            const bool samples = *kind == '4';
            QCOMPARE(file->rows.Count(), samples ? 7 : 5);
            QCOMPARE(file->readings.statistics.maxRow, samples ? 7 : 5);
            QVERIFY(Written(*file).endsWith(samples ? "b,2,,,\r\n,,,,\r\n" : "b,2,,,\r\n,,,,\r\n,,,,\r\n"));
            QVERIFY(StaysAsWritten(*file)); // also as samples that are empty
        }
    }

    void MissingFieldsBeginAgain()
    {
        const Result<DataFile> file = Read(Realtime + "A\r\n1,2\r\n1,2,3,4,5,6,7");
        QVERIFY(file);
        QCOMPARE(file->rows.Count(), 6);
        const auto row = [&](int number) {
            QStringList texts;
            for (int text = 0; text < RowStore::Texts; ++text)
                texts << file->rows.Cell(number, text);
            return texts.join(u'|');
        };
        QCOMPARE(row(3), u"A|A|A|A|A"_qs);
        QCOMPARE(row(4), u"1|2|1|2|1"_qs);
        QCOMPARE(row(5), u"1|2|3|4|5"_qs); // a last line without an end
    }

    void HeaderIsChecked()
    {
        const QString type = u"This file is a different data type."_qs;
        // A line, texts for it, and the error; none where they are accepted.
        const std::tuple<int, QByteArrayList, QString> rows[] = {
            {1, {"1", "3", "", " 2", "02", "9", "PNG"}, type},
            {2,
             {"32768,1,0"},
             u"Line 2 of the file: \"32768\" is not a whole number from -32768 to 32767."_qs},
            {2, {"1,,0"}, u"Line 2 of the file: \"\" is not a whole number from -32768 to 32767."_qs},
            {2, {"0,-5,7"}, {}},
            {3,
             {"00,00,00,00", "100,0,0,0", "0,24,0,0", "0,0,60,0", "0,0,0,60", "a,0,0,1", ",,,5", "-1,0,0,5",
              "0,0,0,1.5"},
             type},
            {3, {"99,23,59,59", "5"}, {}}, // which is read as 5,5,5,5
            {4, {"False,0,0,0,0", "False,,,,"}, type},
            {4, {"Maybe,0,0,1,0"}, u"Line 4 of the file: \"Maybe\" is neither True nor False."_qs},
            {4, {"0,0,0,1,0", "-1,x,y,z,"}, {}},
            {5, {"1", "32768", "", "x", "2.5", "-20"}, type},
            {5, {"2", "32767", " 20 ", "2e1"}, {}},
            {6, {"True,0,1", "True,1,32768", "Maybe,0,1", "False,1"}, type},
            {6, {"Maybe,1,1"}, u"Line 6 of the file: \"Maybe\" is neither True nor False."_qs},
            {6, {"TRUE,32767,1"}, {}},
            {7,
             {"True,-60000.5,10,1,1", "True,0,60001,1,1", "False,0,10,0,1", "False,0,10,1,32768",
              "False,a,10,1,1", "False,nan,inf,1,1"},
             type},
            {7,
             {"False,-60000,60000,32767,32767", "False,10,0,1,1"},
             {}}, // the limits' order is the graph's concern
        };
        for (const auto &[line, texts, error] : rows) {
            for (const QByteArray &text : texts) {
                const Result<DataFile> file = Read(WithLine(line, text));
                const QString reason = file ? QString() : file.error().text;
                QVERIFY2(reason == error, (text + ": " + reason.toUtf8()).constData());
                QVERIFY2(file.has_value() == error.isEmpty(), text.constData());
                if (file)
                    QVERIFY2(StaysAsWritten(*file), text.constData());
            }
        }
    }

    void TruncatedAnywhere()
    {
        const qsizetype header = Realtime.indexOf("10:00:00");
        for (qsizetype length = 0; length < Realtime.size(); ++length) {
            const Result<DataFile> file = Read(Realtime.left(length));
            QVERIFY2(file || !file.error().text.isEmpty(), qPrintable(QString::number(length)));
            QVERIFY(file || length < header);
        }
        QCOMPARE(Read({}).error().text, u"The file ends before its line 1."_qs);
    }

    void OddContentsAreBounded()
    {
        const qsizetype much = 3 * DataFile::LongestLine;
        const QString type = u"This file is a different data type."_qs;
        const std::pair<QByteArray, QString> rows[] = {
            {QByteArray(much, '\0'), type},
            {QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), type},
            {WithLine(2, QByteArray(much, '1')), u"Line 2 of the file is too long."_qs},
            {Realtime + QByteArray(much, 'x'), u"Line 12 of the file is too long."_qs},
            {Realtime + QByteArray("1,").repeated(much) + "\r\n", {}},
            {WithLine(3, "00,00,00,05" + QByteArray(",").repeated(much)), {}},
            {Realtime + "x," + QByteArray(DataFile::LongestLine - 2, '1') + "\n", {}}, // as long as may be
        };
        for (const auto &[bytes, error] : rows) {
            const Result<DataFile> file = Read(bytes);
            QCOMPARE(file ? QString() : file.error().text, error);
            QCOMPARE(file.has_value(), error.isEmpty());
            QVERIFY(!file || file->rows.Count() >= 3);
        }
    }
};

QTEST_GUILESS_MAIN(DataFileTest)
#include "datafile_test.moc"
