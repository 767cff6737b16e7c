#pragma once

#include "document/dataset.h"
#include "platform/result.h"

#include <QCoro/QCoroTask>
#include <QMdiSubWindow>
#include <QPointer>
#include <QSize>

#include <array>
#include <functional>
#include <memory>

class QCloseEvent;
class QResizeEvent;

namespace px40 {

class DataTable;
class ElidedLabel;
class GraphPane;
class Jobs;
class RunBar;
struct LinkState;

/// Writes the picture of a graph under that name.
using GraphWriter = std::function<Result<>(const QString &)>;

/// What a data window needs from the program; all of it outlives the window.
struct DataWindowServices
{
    LinkState *state = nullptr;
    Jobs *jobs = nullptr;
    /// Asks about unsaved readings, if there are any; true when the window may close.
    std::function<QCoro::Task<bool>(std::shared_ptr<DataSet>)> confirmClose;
    /// Asks for the name of a picture, and has it written.
    std::function<QCoro::Task<void>(std::shared_ptr<DataSet>, GraphWriter)> saveGraph;
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
    void ApplyShape();

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
    QWidget *BuildContent();
    QWidget *BuildViews(QWidget *parent);
    void LeaveShortcutsToTheMenus();
    /// A size that shows every text and a good number of rows, outer frame included.
    QSize InitialSize() const;
    void ShowTitle();
    void ShowPanel(Panel panel, const QString &text);
    void SelectFirst();
    void FollowSample(int sample);
    void ShowFollowed();
    void SummariseSelection();
    void ShowProgress();
    void IgnoreStateChanges();
    void RememberState(Qt::WindowStates before);
    void RememberSize();
    void CopyGraph();
    void SaveGraph();
    QString GraphCaption() const;

    std::shared_ptr<DataSet> data_;
    DataWindowServices services_;
    DataTable *fgData_ = nullptr;
    GraphPane *graph_ = nullptr;
    RunBar *pbData_ = nullptr;
    std::array<ElidedLabel *, PanelCount> panels_{}; ///< in the order of `Panel`
    QSize normalSize_; ///< in the state that is neither minimised nor maximised, frame included, in pixels
    QString selectionText_;
    int followed_ = 0;     ///< the sample to be shown in this turn of the event loop; 0: none
    bool summing_ = false; ///< the selection will be summarised in this turn
    bool asking_ = false;
    bool ignoringStates_ = false; ///< in this turn QMdiArea, not the user, changes window states
};

} // namespace px40
