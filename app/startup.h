#pragma once

#include <QCoro/QCoroTask>

namespace px40 {

class frmMain;
struct Services;

/// Brings the program up in its fixed order: settings, port, splash window, range lists, main window,
/// opening of the port. If the port cannot be opened the user is asked for another one. What is handed in
/// must outlive it.
QCoro::Task<void> RunStartup(Services *services, frmMain *window, bool splash);

} // namespace px40
