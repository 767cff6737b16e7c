#pragma once

#include <QList>
#include <QString>

class QWidget;

namespace px40 {

/// Takes pictures of the program's windows, one PNG each.
///
/// Windows are drawn where they stand to each other, each in a plain frame with its title, because a grabbed
/// window comes without the one that the desktop puts around it.
class Camera
{
  public:
    explicit Camera(const QString &folder) : folder_(folder) {}

    /// Writes `name`.png; `windows` from back to front. Throws RigError when that cannot be done.
    void Take(const QString &name, const QList<QWidget *> &windows);

    /// Keeps a picture that the program itself has written as `name`.png.
    void Keep(const QString &name, const QString &file);

    int Pictures() const { return pictures_; }
    /// The name of the picture taken last.
    QString Last() const { return last_; }

  private:
    /// Where the picture goes that is taken now.
    QString Next(const QString &name);

    QString folder_;
    QString last_;
    int pictures_ = 0;
};

} // namespace px40
