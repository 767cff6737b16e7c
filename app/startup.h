#pragma once

#include <QCoro/QCoroTask>
#include <QStringList>

namespace px40 {

class frmMain;
struct Services;

/// Brings the program up in its fixed order: settings, port, splash window, main window,
/// the data files named, opening of the port. If the port cannot be opened the user is asked for another one.
/// What is handed in must outlive it.
QCoro::Task<void> RunStartup(Services *services, frmMain *window, bool splash, QStringList files = {});

} // namespace px40
