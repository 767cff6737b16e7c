#include "tools/camera.h"

#include "resources/icons.h"
#include "testing/wait.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QWidget>
#include <QWindow>

namespace px40 {

namespace {

constexpr int Margin = 24;
constexpr int IconSize = 16;

bool HasTitleBar(const QWidget *window)
{
    const Qt::WindowType type = window->windowType();
    return type == Qt::Window || type == Qt::Dialog;
}

int TitleBarHeight()
{
    return QFontMetrics(QApplication::font()).height() + 14;
}

/// Where the window stands, with what is drawn around it.
QRect Outline(const QWidget *window)
{
    const QRect inner(window->mapToGlobal(QPoint(0, 0)), window->size());
    return HasTitleBar(window) ? inner.adjusted(-1, -TitleBarHeight() - 1, 1, 1) : inner;
}

void DrawTitleBar(QPainter &painter, const QWidget *window, const QRect &outline)
{
    const QPalette palette = QApplication::palette();
    const QColor ground = palette.color(QPalette::Active, QPalette::Window);
    const QColor ink = palette.color(QPalette::Active, QPalette::WindowText);
    const QRect bar(outline.topLeft() + QPoint(1, 1), QSize(outline.width() - 2, TitleBarHeight()));
    painter.fillRect(bar, Mix(ground, ink, 0.12));

    QRect room = bar.adjusted(8, 0, -8, 0);
    const QRect icon(room.left(), room.top() + (room.height() - IconSize) / 2, IconSize, IconSize);
    window->windowIcon().paint(&painter, icon);
    room.setLeft(icon.right() + 9);
    painter.setPen(ink);
    QString title = window->windowHandle() ? window->windowHandle()->title() : window->windowTitle();
    if (title.isEmpty())
        title = QGuiApplication::applicationDisplayName();
    const QString shown = painter.fontMetrics().elidedText(title, Qt::ElideRight, room.width());
    painter.drawText(room, Qt::AlignVCenter | Qt::AlignLeft, shown);
}

} // namespace

void Camera::Take(const QString &name, const QList<QWidget *> &windows)
{
    // What was just changed has asked for a new layout; nothing else may happen before the picture.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QRect scene;
    for (const QWidget *const window : windows)
        scene |= Outline(window);
    scene.adjust(-Margin, -Margin, Margin, Margin);

    const qreal ratio = windows.first()->devicePixelRatioF();
    QImage picture((QSizeF(scene.size()) * ratio).toSize(), QImage::Format_RGB32);
    picture.setDevicePixelRatio(ratio);
    const QColor ground = QApplication::palette().color(QPalette::Active, QPalette::Window);
    picture.fill(Mix(ground, QColor(0x20, 0x4a, 0x66), 0.55));

    QPainter painter(&picture);
    painter.setFont(QApplication::font());
    painter.translate(-scene.topLeft());
    for (QWidget *const window : windows) {
        const QRect outline = Outline(window);
        if (HasTitleBar(window))
            DrawTitleBar(painter, window, outline);
        painter.drawPixmap(window->mapToGlobal(QPoint(0, 0)), window->grab());
        if (HasTitleBar(window)) {
            const QPalette palette = QApplication::palette();
            DrawThinFrame(painter, outline,
                          Mix(palette.color(QPalette::Active, QPalette::Window),
                              palette.color(QPalette::Active, QPalette::WindowText), 0.45));
        }
    }
    painter.end();

    Require(picture.save(Next(name)), QStringLiteral("%1 cannot be written.").arg(name));
}

void Camera::Keep(const QString &name, const QString &file)
{
    const QString path = Next(name);
    QFile::remove(path); // of the run before
    Require(QFile::copy(file, path), QStringLiteral("%1 cannot be written.").arg(name));
}

QString Camera::Next(const QString &name)
{
    last_ = name;
    ++pictures_;
    return QDir(folder_).filePath(name + QStringLiteral(".png"));
}

} // namespace px40
