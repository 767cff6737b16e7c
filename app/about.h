#pragma once

#include <memory>

class QWidget;

namespace px40 {

// The program's picture, title, version and notices.

/// The window `frmSplash` that is shown while the program starts; shown by the caller.
std::unique_ptr<QWidget> MakeSplash();

/// Opens the dialog `frmAbout`, which deletes itself when closed.
void ShowAbout(QWidget *parent);

} // namespace px40
