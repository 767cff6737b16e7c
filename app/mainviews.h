#pragma once

#include "forward/forwardchoice.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace px40 {

class DataSet;

/// The windows as the commands of the user see them. The main window implements this; tests do
/// without a main window.
class MainViews
{
  public:
    virtual ~MainViews() = default;

    /// The data sets that have a window.
    virtual QList<std::shared_ptr<DataSet>> DataSets() const = 0;
    /// The one whose window is active; null when there is none.
    virtual std::shared_ptr<DataSet> ActiveData() const = 0;

    /// Gives a data set a window. `fromFile`: of the size and state that it has itself.
    virtual void AddDataWindow(std::shared_ptr<DataSet> dataSet, bool fromFile) = 0;
    /// Makes the window of that data set the active one, as it stands.
    virtual void Activate(const std::shared_ptr<DataSet> &dataSet) = 0;
    /// The same, and restores it when it is minimised.
    virtual void BringToFront(const std::shared_ptr<DataSet> &dataSet) = 0;

    /// Shows the forward dialog; nothing when it is cancelled. OK brings `memory` up to date.
    virtual QCoro::Task<std::optional<ForwardChoice>> AskForward(std::shared_ptr<ForwardMemory> memory) = 0;
    /// Shows a file in the program that the desktop has for it; `failed` is called later when it has
    /// none.
    virtual void ShowFile(const QString &name, const std::function<void()> &failed) = 0;

    virtual void ShowBusy(bool busy) = 0;
    virtual void TakeFocus() = 0;
    /// The program ends: keeps the windows' places, and closes them and the dialogs.
    virtual void CloseAll() = 0;
};

} // namespace px40
