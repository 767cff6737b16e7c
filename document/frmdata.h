#pragma once

#include "document/dataset.h"

#include <QCoro/QCoroTask>
#include <QMdiSubWindow>
#include <QPointer>
#include <QSize>

#include <memory>

class QCloseEvent;
class QProgressBar;
class QResizeEvent;
class QTableView;

namespace px40 {

class Jobs;
class PanelBar;
class Prompts;
struct LinkState;

/// What a data window needs from the program; all of it outlives the window.
struct DataWindowServices
{
    LinkState *state = nullptr;
    Prompts *prompts = nullptr;
    Jobs *jobs = nullptr;
};

/// A child window that shows one data set: table, statistics and settings, progress.
///
/// It closes only while the link allows it and asks about unsaved readings first.
class frmData : public QMdiSubWindow
{
    Q_OBJECT

  public:
    frmData(std::shared_ptr<DataSet> dataSet, const DataWindowServices &services);
    ~frmData() override;

    const std::shared_ptr<DataSet> &Data() const { return data_; }

    /// Size in the normal state (neither minimised nor maximised), outer frame included, in pixels.
    QSize NormalSize() const { return normalSize_; }

    /// Asks about unsaved readings, if there are any; true when the window may go, and the caller then lets
    /// it go. The link's part in that is the caller's.
    static QCoro::Task<bool> ConfirmClose(QPointer<frmData> window);

  protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

  private:
    static QCoro::Task<void> AskAndClose(QPointer<frmData> window);
    QWidget *BuildContent();
    void LeaveShortcutsToTheMenus();
    /// The size in which every text and a good number of rows are seen, outer frame included.
    QSize RoomySize() const;
    void ShowPanel(Panel panel, const QString &text);
    void SelectFirst();
    void FollowSample(int sample);
    void ShowProgress();

    std::shared_ptr<DataSet> data_;
    DataWindowServices services_;
    QTableView *fgData_ = nullptr;
    QProgressBar *pbData_ = nullptr;
    PanelBar *stBar1_ = nullptr;
    PanelBar *stBar2_ = nullptr;
    PanelBar *stBar3_ = nullptr;
    QSize normalSize_;
    bool asking_ = false;
};

} // namespace px40
