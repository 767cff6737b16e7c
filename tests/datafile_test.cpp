#include "document/datafile.h"

#include <QBuffer>
#include <QTest>

using namespace px40;

namespace {

const QByteArray Realtime = "2\r\n"
                            "9600,5400,0\r\n"
                            "00,00,00,05\r\n"
                            "True,,,,\r\n"
                            "20\r\n"
                            "True,1,1\r\n"
                            "True,0,10,1,1\r\n"
                            "10:00:00,1.0023,,,\r\n"
                            "10:00:05,1.0031,,,\r\n"
                            "10:00:10,+OL,,,\r\n"
                            ",,,,\r\n";

std::optional<DataFile> Read(QByteArray bytes, QString *error = nullptr)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QString reason;
    std::optional<DataFile> file = ReadDataFile(buffer, &reason);
    if (error)
        *error = reason;
    return file;
}

QByteArray Written(const DataFile &file)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QString error;
    return WriteDataFile(file.header, file.rows, file.tableRows, buffer, &error) ? bytes : QByteArray();
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
    void ReadsTheExample();
    void WritesWhatItRead_data();
    void WritesWhatItRead();
    void EmptyLinesAreRowsButNoSamples();
    void MissingFieldsBeginAgain();
    void HeaderIsChecked_data();
    void HeaderIsChecked();
    void TruncatedAnywhere();
    void OddContentsAreBounded_data();
    void OddContentsAreBounded();
    void DurationsGetTwoDigitsOnRequest();
};

void DataFileTest::ReadsTheExample()
{
    for (const bool lineFeedsAlone : {false, true}) {
        QByteArray bytes = Realtime;
        if (lineFeedsAlone)
            bytes.replace("\r\n", "\n");
        const std::optional<DataFile> file = Read(bytes);
        QVERIFY(file);
        QCOMPARE(file->header.kind, 2);
        QCOMPARE(file->header.shape.height, 5400);
        QCOMPARE(DurationSeconds(file->header.interval), 5);
        QVERIFY(file->header.periodNone && file->header.graph.xAuto && file->header.graph.yAuto);
        QCOMPARE(file->header.graph.count, 20);
        QCOMPARE(file->rows.Count(), 3);
        QCOMPARE(file->tableRows, 4);
        QCOMPARE(file->rows.Cell(2, 1), u"+OL"_qs);
        QCOMPARE(file->readings.statistics.validCount, 2);
        QCOMPARE(file->readings.statistics.maxRow, 2);
        QVERIFY(!file->readings.series.At(3).HasReading());
        QCOMPARE(file->readings.series.At(3).maximum, 1.0031F);
        QCOMPARE(file->readings.series.At(2).maximum, 1.0023F); // as it was before that sample
        QCOMPARE(Written(*file), Realtime);
    }
}

void DataFileTest::WritesWhatItRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray rest = "\r\n100,200,2\r\n,,,10\r\nTrue,,,,\r\n32767\r\nFalse,3,2\r\n"
                            "False,-60000,60000,5,2\r\nNo.1,1.5,VDC,2,mA\r\nNo.2,-----,,,\r\n,,,,\r\n";
    QTest::newRow("MEMORY-mode") << "0" + rest;
    QByteArray save = "4" + rest;
    QTest::newRow("SAVE-mode") << save.replace(",,,10", ",,,");
    QTest::newRow("custom period") << WithLine(4, "False,99,23,59,59");
    QTest::newRow("Latin-1") << WithLine(8, "10:00:00,1.0023,\xb0"
                                            "C,\xb5\xff,\x80 x ");
}

void DataFileTest::WritesWhatItRead()
{
    QFETCH(QByteArray, bytes);
    const std::optional<DataFile> file = Read(bytes);
    QVERIFY(file);
    QCOMPARE(Written(*file), bytes);
}

void DataFileTest::EmptyLinesAreRowsButNoSamples()
{
    const QByteArray rows = "a,1,,,\r\n\r\nlost,,x,,\r\nb,2,,,\r\n";
    for (const char *const kind : {"0", "2", "4"}) {
        const std::optional<DataFile> file = Read(WithLine(1, kind).chopped(4 + 2) + rows);
        QVERIFY(file);
        const bool samples = *kind == '4';
        QCOMPARE(file->rows.Count(), samples ? 7 : 5);
        QCOMPARE(file->tableRows, 7);
        QCOMPARE(file->readings.statistics.validCount, 4);
        QCOMPARE(file->readings.statistics.maxRow, samples ? 7 : 5);
        // From then on it stays as it is, also as samples that are empty.
        const QByteArray once = Written(*file);
        QVERIFY(once.endsWith(samples ? "b,2,,,\r\n,,,,\r\n" : "b,2,,,\r\n,,,,\r\n,,,,\r\n"));
        const std::optional<DataFile> again = Read(once);
        QVERIFY(again);
        QCOMPARE(Written(*again), once);
    }
}

void DataFileTest::MissingFieldsBeginAgain()
{
    const std::optional<DataFile> file = Read(Realtime + "A\r\n1,2\r\n1,2,3,4,5,6,7");
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

void DataFileTest::HeaderIsChecked_data()
{
    QTest::addColumn<int>("line");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error"); // empty: accepted
    const QString type = u"This file is a different data type."_qs;
    const auto add = [](int line, const char *text, const QString &error) {
        QTest::addRow("line %d: %s", line, text) << line << QByteArray(text) << error;
    };
    for (const char *const text : {"1", "3", "", " 2", "02", "9", "PNG"})
        add(1, text, type);
    add(2, "32768,1,0", u"Line 2 of the file: \"32768\" is not a whole number from -32768 to 32767."_qs);
    add(2, "1,,0", u"Line 2 of the file: \"\" is not a whole number from -32768 to 32767."_qs);
    add(2, "0,-5,7", QString());
    for (const char *const text : {"00,00,00,00", "100,0,0,0", "0,24,0,0", "0,0,60,0", "0,0,0,60", "a,0,0,1",
                                   ",,,5", "-1,0,0,5", "0,0,0,1.5", "5"})
        add(3, text, text == QByteArray("5") ? QString() : type); // "5" is read as 5,5,5,5
    add(3, "99,23,59,59", QString());
    add(4, "False,0,0,0,0", type);
    add(4, "False,,,,", type);
    add(4, "0,0,0,1,0", QString());
    add(4, "Maybe,0,0,1,0", u"Line 4 of the file: \"Maybe\" is neither True nor False."_qs);
    add(4, "-1,x,y,z,", QString());
    for (const char *const text : {"1", "32768", "", "x", "2.5", "-20"})
        add(5, text, type);
    for (const char *const text : {"2", "32767", " 20 ", "2e1"})
        add(5, text, QString());
    for (const char *const text : {"True,0,1", "True,1,32768", "Maybe,0,1", "False,1"})
        add(6, text, type);
    add(6, "Maybe,1,1", u"Line 6 of the file: \"Maybe\" is neither True nor False."_qs);
    add(6, "TRUE,32767,1", QString());
    for (const char *const text : {"True,-60000.5,10,1,1", "True,0,60001,1,1", "False,0,10,0,1",
                                   "False,0,10,1,32768", "False,a,10,1,1", "False,nan,inf,1,1"})
        add(7, text, type);
    add(7, "False,-60000,60000,32767,32767", QString());
    add(7, "False,10,0,1,1", QString()); // the order of the limits is the graph's concern
}

void DataFileTest::HeaderIsChecked()
{
    QFETCH(int, line);
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    QString reason;
    const std::optional<DataFile> file = Read(WithLine(line, text), &reason);
    QCOMPARE(reason, error);
    QCOMPARE(file.has_value(), error.isEmpty());
    if (file) {
        const QByteArray once = Written(*file);
        const std::optional<DataFile> again = Read(once);
        QVERIFY(again);
        QCOMPARE(Written(*again), once);
    }
}

void DataFileTest::TruncatedAnywhere()
{
    const qsizetype header = Realtime.indexOf("10:00:00");
    for (qsizetype length = 0; length < Realtime.size(); ++length) {
        QString reason;
        const std::optional<DataFile> file = Read(Realtime.left(length), &reason);
        QVERIFY2(file || !reason.isEmpty(), qPrintable(QString::number(length)));
        if (length >= header)
            QVERIFY(file);
        if (length == 0)
            QCOMPARE(reason, u"The file ends before its line 1."_qs);
    }
}

void DataFileTest::OddContentsAreBounded_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");
    const qsizetype much = 3 * DataFile::LongestLine;
    const QString type = u"This file is a different data type."_qs;
    QTest::newRow("zeros") << QByteArray(much, '\0') << type;
    QTest::newRow("picture") << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16) << type;
    QTest::newRow("header without an end")
        << WithLine(2, QByteArray(much, '1')) << u"Line 2 of the file is too long."_qs;
    QTest::newRow("data without an end")
        << Realtime + QByteArray(much, 'x') << u"Line 12 of the file is too long."_qs;
    QTest::newRow("many fields") << Realtime + QByteArray("1,").repeated(much) + "\r\n" << QString();
    QTest::newRow("many fields in the header")
        << WithLine(3, "00,00,00,05" + QByteArray(",").repeated(much)) << QString();
    QTest::newRow("line as long as may be")
        << Realtime + "x," + QByteArray(DataFile::LongestLine - 2, '1') + "\n"
        << QString();
}

void DataFileTest::OddContentsAreBounded()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, error);
    QString reason;
    const std::optional<DataFile> file = Read(bytes, &reason);
    QCOMPARE(reason, error);
    QCOMPARE(file.has_value(), error.isEmpty());
    if (file)
        QVERIFY(file->rows.Count() >= 3);
}

void DataFileTest::DurationsGetTwoDigitsOnRequest()
{
    const Duration typed{u"1"_qs, u"2"_qs, u" 03 "_qs, u"59"_qs};
    Duration duration = typed;
    QVERIFY(ValidateDuration(&duration, false));
    QCOMPARE(duration, typed);
    QVERIFY(ValidateDuration(&duration, true));
    QCOMPARE(duration, Duration({u"01"_qs, u"02"_qs, u"03"_qs, u"59"_qs}));
}

QTEST_GUILESS_MAIN(DataFileTest)
#include "datafile_test.moc"
