#include "document/dataset.h"
#include "forward/datasetsource.h"
#include "forward/sheetlayout.h"
#include "testing/books.h"
#include "testing/files.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace px40;

namespace {

const QString Folder = QStringLiteral(PX40_WORKSHEETS);

/// A data set with one row of everything that comes, over and over.
std::shared_ptr<DataSet> MakeDataSet(DocumentShared &shared, int kind, int samples)
{
    const QList<QStringList> rows = {
        {u"10:00:00"_qs, u"1.0023"_qs, u"VDC"_qs, u"0.500"_qs, u"mA"_qs},
        {u"10:00:05"_qs, u"+OL"_qs, u"k\u03a9"_qs, {}, {}},
        {u"10:00:10"_qs, u"-5.0E-2"_qs, u"0012"_qs, u"=1+1"_qs, u" <&> "_qs},
    };
    auto set = std::make_shared<DataSet>(shared);
    set->OpenNew(kind);
    for (int i = 0; i < samples; ++i) {
        const QStringList &row = rows.at(i % rows.size());
        static_cast<void>(set->AddGridrow());
        set->AddData(row[0], row[1], row[2], row[3], row[4]);
    }
    return set;
}

} // namespace

/// What a program that had no part in it reads from the workbooks that are written.
class WorksheetTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &name : {u"python3"_qs, u"/usr/bin/python3"_qs}) {
            QProcess process;
            process.start(name, {u"-c"_qs, u"import openpyxl"_qs});
            if (python_.isEmpty() && process.waitForFinished() && process.exitCode() == 0)
                python_ = name;
        }
        if (python_.isEmpty())
            QSKIP("Skipped: there is no python3 with openpyxl.");
    }

    void ReadsAsMeant_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("samples");
        QTest::addColumn<QString>("book");
        for (const int kind : {KindMemory, KindRealtime, KindSave})
            for (const int samples : {0, 1, 3})
                QTest::addRow("kind %d, %d rows", kind, samples) << kind << samples << QString();
        QTest::newRow("32,000 rows") << int(KindRealtime) << 32'000 << QString();
        QTest::newRow("openpyxl") << int(KindRealtime) << 3 << u"--make"_qs;
        QTest::newRow("LibreOffice") << int(KindSave) << 3 << u"/libreoffice.xlsx"_qs;
    }

    void ReadsAsMeant()
    {
        QFETCH(int, kind);
        QFETCH(int, samples);
        QFETCH(QString, book);
        QTemporaryDir folder;
        const QString name = folder.filePath(u"Book \u03b1.xlsx"_qs);
        if (book == u"--make")
            QCOMPARE(Run({book, name}), QStringList());
        else if (!book.isEmpty())
            QVERIFY(QFile::copy(Folder + book, name));

        DocumentShared shared{0, kind == KindMemory, {}};
        const std::shared_ptr<DataSet> set = MakeDataSet(shared, kind, samples);
        const DataSetSource source(set, u"Probe"_qs);
        const bool numbers = source.IsSaveMode();
        const Sheet sheet = LayOut(source, samples, numbers, source.Rows(numbers));
        QCOMPARE(Write(book.isEmpty() ? WorkbookFile::New(name) : WorkbookFile::Existing(name), sheet),
                 QString());

        QStringList found = samples > 100 ? Run({name, u"7"_qs}) : Run({name});
        QCOMPARE(found.value(0), book.isEmpty() ? u"sheets|[Probe]"_qs : u"sheets|Costs|[Plan B]|Probe"_qs);
        found.removeFirst();
        const QString golden = Folder + u"/kind%1-%2.txt"_qs.arg(kind).arg(samples);
        QCOMPARE(found, QString::fromUtf8(Contents(golden)).split(u'\n', Qt::SkipEmptyParts));
    }

  private:
    /// What the script says, line by line.
    QStringList Run(const QStringList &arguments)
    {
        QProcess process;
        process.start(python_, QStringList{Folder + u"/sheetdump.py"_qs} + arguments);
        process.waitForFinished(120'000);
        const QString errors = QString::fromUtf8(process.readAllStandardError());
        return (QString::fromUtf8(process.readAllStandardOutput()) + errors).split(u'\n', Qt::SkipEmptyParts);
    }

    QString python_;
};

QTEST_GUILESS_MAIN(WorksheetTest)
#include "worksheet_test.moc"
