#pragma once

#include "tools/camera.h"

#include <QString>

namespace px40 {

class Stage;

/// Goes through everything that the program does, as a user would, checks what comes out and takes a picture
/// of every window and dialog on the way.
class Tour
{
  public:
    /// `folder`, for the pictures, must be there.
    explicit Tour(const QString &folder) : camera_(folder) {}

    /// True when every step did what it should; each that did not has a sentence on the standard error
    /// stream.
    bool Run();

    int Pictures() const { return camera_.Pictures(); }

  private:
    using Step = void (Tour::*)(Stage &);

    void RunSteps(Stage &stage, std::initializer_list<Step> steps);

    void FirstStart(Stage &stage);
    void AssignDevice(Stage &stage);
    void DeviceNotPlugged(Stage &stage);
    void LeaveWithoutQuestion(Stage &stage);

    void DemoStart(Stage &stage);
    void Menus(Stage &stage);
    void DemoPort(Stage &stage);
    void DownloadInSmallWindow(Stage &stage);
    void CancelDownload(Stage &stage);
    void Download(Stage &stage);
    void RealtimeWindows(Stage &stage);
    void SilentInstrument(Stage &stage);
    void Unplugged(Stage &stage);
    void About(Stage &stage);
    void LeaveWithQuestion(Stage &stage);

    void StartLive(Stage &stage);
    void MeasureRanges(Stage &stage);
    void MeasureStates(Stage &stage);
    void MeasureButton(Stage &stage);
    void MeasureSourceMode(Stage &stage);
    void MeasureSizes(Stage &stage);
    void PrinterMode(Stage &stage);

    void StartSource(Stage &stage);
    void SourceRanges(Stage &stage);
    void SourceStates(Stage &stage);
    void SourceDigits(Stage &stage);
    void SourceRatio(Stage &stage);
    void SourceValue(Stage &stage);
    void SourceValueRefused(Stage &stage);
    void SourceClosedMeanwhile(Stage &stage);
    void SourceThermocouples(Stage &stage);
    void SourcePulses(Stage &stage);
    void SourceSizes(Stage &stage);

    void IntervalOfNewSet(Stage &stage);
    void StartRun(Stage &stage);
    void SourceDuringRun(Stage &stage);
    void RunHoldsWindows(Stage &stage);
    void EndOfPeriod(Stage &stage);
    void IntervalWithReadings(Stage &stage);
    void StopRun(Stage &stage);
    void SaveRun(Stage &stage);
    void UnplugRun(Stage &stage);

    void StartWithReadings(Stage &stage);
    void HoverGraph(Stage &stage);
    void GraphSetup(Stage &stage);
    void ScrollGraph(Stage &stage);
    void GraphValueAxis(Stage &stage);
    void ZoomGraph(Stage &stage);
    void CopyTable(Stage &stage);
    void CopyGraph(Stage &stage);
    void SaveGraph(Stage &stage);

    void SaveReadings(Stage &stage);
    void SaveOverReadOnly(Stage &stage);
    void SaveOverAnother(Stage &stage);
    void OpenReadings(Stage &stage);
    void OpenAnotherType(Stage &stage);
    void CloseAndSave(Stage &stage);

    void ForwardQuestion(Stage &stage);
    void ForwardDownload(Stage &stage);
    void ForwardRefusals(Stage &stage);
    void ForwardToSameBook(Stage &stage);
    void ForwardToHeldBook(Stage &stage);
    void ForwardManyRows(Stage &stage);
    void ForwardRun(Stage &stage);
    void ForwardRunInVain(Stage &stage);
    void DrawWorkbooks(Stage &stage);

    Camera camera_;
    int failures_ = 0;
};

} // namespace px40
