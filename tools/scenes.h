#pragma once

namespace px40 {

class Stage;

// The scenarios of the tour: each does one thing that the program does, and takes the pictures of it. Those
// of one run of the program follow each other; the first one starts it.

void FirstStart(Stage &stage);

void Main(Stage &stage);
void CancelledDownload(Stage &stage);
void Downloads(Stage &stage);
void DataWindows(Stage &stage);
void SilentInstrument(Stage &stage);
void Unplugged(Stage &stage);
void Leaving(Stage &stage);

/// A finished download in a roomy window, which nothing covers; with it the next four begin.
void StartWithReadings(Stage &stage);
void GraphHover(Stage &stage);
void GraphSetup(Stage &stage);
void GraphZoom(Stage &stage);
void Copies(Stage &stage);
void Files(Stage &stage);
void ForwardDownload(Stage &stage);
void ForwardManyRows(Stage &stage);

/// Where the live windows begin: nothing has been done yet, MEASURE stands beside the main window.
void StartLive(Stage &stage);
void MeasureStates(Stage &stage);
void MeasureInUse(Stage &stage);

void SourceStates(Stage &stage);
void SourceInUse(Stage &stage);
void SourceValue(Stage &stage);

void Run(Stage &stage);
void RunInGaps(Stage &stage);
void ForwardRun(Stage &stage);
/// What a spreadsheet program makes of the workbooks.
void DrawWorkbooks(Stage &stage);

} // namespace px40
