#include "tools/golden.h"

#include "testing/wait.h"

#include <QDir>
#include <QImage>

#include <algorithm>
#include <array>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr double Reduction = 4;   // pixels of a window to one of a small picture
constexpr int Patch = 8;          // pixels of a small picture whose mean colours are compared
constexpr int MostDifference = 6; // of 255, in the mean of a patch

QStringList Names(const QString &golden)
{
    return QDir(golden).entryList({u"*.png"_s}, QDir::Files, QDir::Name);
}

/// The guide's pictures but those of worksheets, if there was no spreadsheet program to take them of.
QStringList ToCompare(const QString &guide, const QString &taken)
{
    QStringList names = Names(guide);
    names.removeIf([&](const QString &name) {
        return name.contains(u"-sheet-"_s) && !QFile::exists(QDir(taken).filePath(name));
    });
    return names;
}

QImage Reduced(const QString &file, double density)
{
    const QImage picture(file);
    const QSize small = (QSizeF(picture.size()) / (Reduction * density)).toSize();
    return picture.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_RGB32);
}

std::array<int, 3> Mean(const QImage &picture, const QRect &patch)
{
    std::array<int, 3> sums{};
    for (int y = patch.top(); y <= patch.bottom(); ++y) {
        for (int x = patch.left(); x <= patch.right(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            sums[0] += qRed(pixel);
            sums[1] += qGreen(pixel);
            sums[2] += qBlue(pixel);
        }
    }
    for (int &sum : sums)
        sum /= patch.width() * patch.height();
    return sums;
}

/// Where the pictures, which have the same size, differ most, and by how much.
std::pair<QPoint, int> Worst(const QImage &golden, const QImage &taken)
{
    std::pair<QPoint, int> worst{};
    for (int y = 0; y < golden.height(); y += Patch) {
        for (int x = 0; x < golden.width(); x += Patch) {
            const QRect patch = QRect(x, y, Patch, Patch).intersected(golden.rect());
            const std::array<int, 3> a = Mean(golden, patch);
            const std::array<int, 3> b = Mean(taken, patch);
            for (std::size_t i = 0; i < a.size(); ++i) {
                const int difference = std::abs(a.at(i) - b.at(i));
                if (difference > worst.second)
                    worst = {patch.center(), difference};
            }
        }
    }
    return worst;
}

} // namespace

QStringList Differences(const QString &golden, const QString &taken, double density)
{
    QStringList found;
    const QStringList names = Names(golden);
    Require(!names.isEmpty(), u"There is no picture in %1."_s.arg(golden));
    for (const QString &name : names) {
        const QImage meant(QDir(golden).filePath(name));
        const QImage seen = Reduced(QDir(taken).filePath(name), density);
        if (meant.size() != seen.size()) {
            found << u"%1 is %2 x %3 pixels in small, and not %4 x %5."_s.arg(name)
                         .arg(seen.width())
                         .arg(seen.height())
                         .arg(meant.width())
                         .arg(meant.height());
            continue;
        }
        const auto [where, difference] = Worst(meant.convertToFormat(QImage::Format_RGB32), seen);
        if (difference > MostDifference)
            found << u"%1 looks different around %2, %3 (by %4 of 255)."_s.arg(name)
                         .arg(where.x() * Reduction)
                         .arg(where.y() * Reduction)
                         .arg(difference);
    }
    return found;
}

void RenewGolden(const QString &golden, const QString &taken, double density)
{
    const QStringList names = Names(golden);
    for (const QString &name : names) {
        const QString file = QDir(golden).filePath(name);
        Require(Reduced(QDir(taken).filePath(name), density).save(file),
                u"%1 cannot be written."_s.arg(file));
    }
}

QStringList Outdated(const QString &guide, const QString &taken)
{
    QStringList found;
    for (const QString &name : ToCompare(guide, taken)) {
        if (QImage(QDir(guide).filePath(name)) != QImage(QDir(taken).filePath(name)))
            found << u"%1 in the guide is of an older program: make it anew with scripts/pictures."_s.arg(
                name);
    }
    return found;
}

void RenewGuide(const QString &guide, const QString &taken)
{
    for (const QString &name : ToCompare(guide, taken)) {
        const QString file = QDir(guide).filePath(name);
        const QString from = QDir(taken).filePath(name);
        Require(QFile::exists(from) && QFile::remove(file) && QFile::copy(from, file),
                u"%1 cannot be made anew."_s.arg(file));
    }
}

} // namespace px40
