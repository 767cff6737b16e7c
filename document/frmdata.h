#pragma once

#include "document/dataset.h"

#include <QCoro/QCoroTask>
#include <QMdiSubWindow>
#include <QPointer>
#include <QSize>

#include <array>
#include <functional>
#include <memory>

class QCloseEvent;
class QProgressBar;
class QResizeEvent;

namespace px40 {

class DataTable;
class ElidedLabel;
class GraphPane;
class Jobs;
class Prompts;
struct LinkState;

/// What a data window needs from the program; all of it outlives the window.
struct DataWindowServices
{
    LinkState *state = nullptr;
    Prompts *prompts = nullptr;
    Jobs *jobs = nullptr;
    /// Saves under the data set's own name, or asks for one when there is none or it may not be written.
    /// True only when saved; a failure was told to the user.
    std::function<QCoro::Task<bool>(std::shared_ptr<DataSet>)> save;
};

/// A child window that shows one data set: table, graph, statistics and settings, progress.
///
/// It closes only while the link allows it and asks about unsaved readings first. The data set always knows
/// its size and state.
class frmData : public QMdiSubWindow
{
    Q_OBJECT

  public:
    frmData(std::shared_ptr<DataSet> dataSet, const DataWindowServices &services);
    ~frmData() override;

    const std::shared_ptr<DataSet> &Data() const { return data_; }

    /// Takes size and state from the data set, as its file had them.
    void TakeShape();

    /// Asks about unsaved readings, if there are any; true when the window may close, which is left to the
    /// caller. So is the check whether the link allows it (`MayClose`).
    static QCoro::Task<bool> ConfirmClose(QPointer<frmData> window);

    /// What is to be told about the selected rows of the table; empty when there is nothing to tell.
    const QString &SelectionText() const { return selectionText_; }

  Q_SIGNALS:
    void selectionTextChanged();

  protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    static QCoro::Task<void> AskAndClose(QPointer<frmData> window);
    static QCoro::Task<void> SaveGraph(QPointer<frmData> window);
    QWidget *BuildContent();
    QWidget *BuildViews(QWidget *parent);
    void LeaveShortcutsToTheMenus();
    /// The size in which every text and a good number of rows are seen, outer frame included.
    QSize RoomySize() const;
    void ShowTitle();
    void ShowPanel(Panel panel, const QString &text);
    void SelectFirst();
    void FollowSample(int sample);
    void ShowFollowed();
    void SumUpSelection();
    void ShowProgress();
    void LeaveStatesAlone();
    void KeepState(Qt::WindowStates before);
    void KeepSize();
    void CopyGraph();
    QString GraphCaption() const;

    std::shared_ptr<DataSet> data_;
    DataWindowServices services_;
    DataTable *fgData_ = nullptr;
    GraphPane *graph_ = nullptr;
    QProgressBar *pbData_ = nullptr;
    std::array<ElidedLabel *, PanelCount> panels_{}; ///< in the order of `Panel`
    QSize normalSize_; ///< in the state that is neither minimised nor maximised, frame included, in pixels
    QString selectionText_;
    int followed_ = 0;     ///< the sample to be shown in this turn of the event loop; 0: none
    bool summing_ = false; ///< the selection will be summed up in this turn
    bool asking_ = false;
    bool arranged_ = false; ///< in this turn the workspace changes states by itself
};

} // namespace px40
