#pragma once

namespace px40 {

class Stage;

// The scenarios of the tour, each a run of the program: it does one of the program's jobs and takes the
// pictures of it. All but the first have the simulated instrument on the program's own port.

void FirstStart(Stage &stage);
void MainWindow(Stage &stage);
void Graph(Stage &stage);
void Files(Stage &stage);
void Recovery(Stage &stage);
void Measure(Stage &stage);
void Source(Stage &stage);
void Runs(Stage &stage);
void ForwardReadings(Stage &stage);
void ForwardRuns(Stage &stage);
void OtherColours(Stage &stage);

/// What several of them begin with: a finished download in a roomy window, which nothing covers.
void StartWithReadings(Stage &stage);

} // namespace px40
