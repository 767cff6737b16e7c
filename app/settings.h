#pragma once

#include <QString>

namespace px40 {

class UserStore;

/// Where the program keeps its files.
struct Paths
{
    QString IniPath;     ///< the settings file "PX40AP.INI"
    QString WorkPath;    ///< the work file "WORK.~~~" through which data files are read and written
    QString UnsavedPath; ///< the folder "Unsaved" of the journals; empty: no journals are kept
    /// The file "PX40USER.INI" of window positions and the like, on Windows, so that the program's folder can
    /// be carried along with all that is set in it; empty elsewhere, where it is the desktop's place for
    /// that.
    QString UserPath;
};

/// All of them in that folder, with the separators of the platform.
Paths PathsIn(const QString &folder);

/// The folder for settings and work file: the program's own if it can be written, else the user's data folder
/// for the application, which is created.
QString ChooseDataFolder(const QString &programFolder);

/// All of them in the folder `wanted`; where that is empty the files in the one chosen, and the journals,
/// which are one user's own and must outlive a stick that is pulled out, in the user's data folder.
Paths PathsFor(const QString &wanted);

/// What is kept per user.
UserStore StoreFor(const Paths &paths);

/// The settings file: three lines (port number, forward file, forward title), each ended by CR LF, in
/// UTF-8, which holds any path. Neither reading nor writing ever complains.
class Settings
{
  public:
    explicit Settings(const Paths &paths) : paths_(paths) {}

    const Paths &GetPaths() const { return paths_; }

    /// Lines that are missing leave their values as they are.
    void ReadFile();

    /// Writes the port number as it is, and then holds "1" in its place if it is not one of 1 to 16.
    void WriteSettingsFile();

    /// The port number text as a number; 1 when it is not one of 1 to 16.
    int PortNumber() const;

    QString PortNumberText;
    QString ForwardFileText;
    QString ForwardTitleText;

  private:
    Paths paths_;
};

} // namespace px40
