#include "bench/sheetrig.h"

#include "forward/bookfailuretext.h"
#include "forward/datasetsource.h"
#include "forward/sheetlayout.h"
#include "xlsx/workbook.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>
#include <zip.h>

namespace px40::bench {

QString SheetTitle()
{
    return QStringLiteral("Loop 7");
}

void AddReadings(DataSet *data, int rows)
{
    for (int i = 0; i < rows && data->AddGridrow(); ++i) {
        const int seconds = (36000 + 5 * i) % 86400;
        const QString time =
            QString::asprintf("%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
        const double reading = 1 + 0.2 * std::sin(i * 1e-4) + i * 37 % 101 * 1e-4;
        data->AddData(time, i % 1000 == 999 ? QStringLiteral("+OL") : QString::number(reading, 'f', 4),
                      QStringLiteral("VDC"), QStringLiteral("0.000"), QStringLiteral("VDC"));
    }
    data->DispCalculation();
}

std::shared_ptr<DataSet> SetMaker::Make(int rows)
{
    auto data = std::make_shared<DataSet>(shared_);
    data->OpenNew(KindRealtime);
    AddReadings(data.get(), rows);
    return data;
}

bool ForwardTo(const QString &name, Book book, const std::shared_ptr<const DataSet> &data)
{
    const DataSetSource source(data, SheetTitle());
    const Sheet sheet = LayOut(source, source.Samples(), false, source.Rows());
    WriteWatch watch;
    const WorkbookFile file = book == Book::New ? WorkbookFile::New(name) : WorkbookFile::Existing(name);
    const BookResult<> added = AddSheet(file, sheet, &watch);
    if (!added)
        std::fprintf(stderr, "%s\n", qPrintable(BookFailureText(added.error())));
    return added.has_value();
}

bool MakeLargeBook(const QString &name)
{
    constexpr int sheets = 20;
    constexpr int rows = 1000;
    constexpr std::size_t pictures = 100;
    constexpr std::size_t pictureWords = 500'000 / sizeof(quint64);
    SetMaker sets;
    const std::shared_ptr<DataSet> data = sets.Make(rows);
    bool good = true;
    for (int i = 0; i < sheets; ++i)
        good = good && ForwardTo(name, i == 0 ? Book::New : Book::Existing, data);

    std::mt19937_64 random(1);
    std::vector<quint64> words(pictureWords * pictures);
    std::generate(words.begin(), words.end(), random);
    zip_t *const archive = zip_open(QFile::encodeName(name).constData(), 0, nullptr);
    for (std::size_t i = 0; archive && i < pictures; ++i) {
        zip_source_t *const source =
            zip_source_buffer(archive, words.data() + pictureWords * i, pictureWords * sizeof(quint64), 0);
        const std::string entry = "xl/media/image" + std::to_string(i + 1) + ".png";
        good = zip_file_add(archive, entry.c_str(), source, 0) >= 0 && good;
    }
    return archive && zip_close(archive) == 0 && good;
}

double PeakBytes()
{
    std::FILE *const file = std::fopen("/proc/self/status", "r");
    std::array<char, 256> line{};
    unsigned long kilobytes = 0;
    while (file && kilobytes == 0 && std::fgets(line.data(), line.size(), file))
        std::sscanf(line.data(), "VmHWM: %lu", &kilobytes);
    if (file)
        std::fclose(file);
    return static_cast<double>(kilobytes) * 1024;
}

bool ForgetPeak()
{
    std::FILE *const file = std::fopen("/proc/self/clear_refs", "w");
    const bool written = file && std::fputs("5", file) >= 0;
    return file && std::fclose(file) == 0 && written;
}

} // namespace px40::bench
