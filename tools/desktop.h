#pragma once

#include <QDesktopServices>
#include <QObject>
#include <QStringList>
#include <QUrl>

namespace px40 {

/// Stands in for the desktop when a file is to be shown: no program is started, as long as this lives.
class Desktop : public QObject
{
    Q_OBJECT

  public:
    Desktop() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "Show"); }
    ~Desktop() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    Q_INVOKABLE void Show(const QUrl &url) { shown << url.toLocalFile(); }

    QStringList shown; ///< the files that would have been opened
};

} // namespace px40
