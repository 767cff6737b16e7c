#include "document/frmdata.h"

#include "document/panelbar.h"
#include "link/linkstate.h"
#include "platform/jobs.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QAction>
#include <QCloseEvent>
#include <QHeaderView>
#include <QMdiArea>
#include <QMenu>
#include <QProgressBar>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <numeric>

namespace px40 {

namespace {

struct PanelPlace
{
    Panel panel;
    int bar; ///< 0 to 2
    const char16_t *key;
    Str caption;
    int captionWidth; ///< in characters
    int width;        ///< of the whole panel, in characters; 0: what is left
};

constexpr int FirstColumnWidth = 38;
constexpr int FirstCaptionWidth = 9;
constexpr int CaptionWidth = 5;
constexpr int RoomyWidth = 120; // shows the longest text of a panel
constexpr int RoomyRows = 12;

constexpr std::array<PanelPlace, PanelCount> PanelPlaces = {{
    {Panel::Label, 0, u"Label", Str::LabelKind, FirstCaptionWidth, FirstColumnWidth},
    {Panel::Max, 0, u"Max", Str::StatisticMax, CaptionWidth, 0},
    {Panel::Interval, 1, u"Interval", Str::LabelInterval, FirstCaptionWidth, FirstColumnWidth},
    {Panel::Min, 1, u"Min", Str::StatisticMin, CaptionWidth, 0},
    {Panel::Period, 2, u"Period", Str::LabelPeriod, FirstCaptionWidth, FirstColumnWidth},
    {Panel::Avg, 2, u"Avg", Str::StatisticAvg, CaptionWidth, 0},
    {Panel::X, 2, u"X", Str::LabelXAxis, 0, 24},
}};

/// Columns in characters; where there is more room they share it in these proportions.
constexpr std::array<int, TableModel::Columns> ColumnWidths = {9, 14, 15, 13, 15, 13};

/// Fills its width with the columns until the user gives one of them a width of its own.
class DataTable : public QTableView
{
  public:
    explicit DataTable(QWidget *parent) : QTableView(parent)
    {
        connect(horizontalHeader(), &QHeaderView::sectionResized, this, [this](int column) {
            if (!sharing_ && column != TableModel::Columns - 1) // the last one stretches by itself
                widthsChosen_ = true;
        });
    }

    void ShareWidth()
    {
        if (widthsChosen_ || !model())
            return;
        sharing_ = true;
        const int total = std::reduce(ColumnWidths.begin(), ColumnWidths.end());
        const int room = std::max(viewport()->width(), total * fontMetrics().averageCharWidth());
        for (int column = 0; column < TableModel::Columns; ++column)
            setColumnWidth(column, room * ColumnWidths.at(static_cast<std::size_t>(column)) / total);
        sharing_ = false;
    }

  protected:
    void resizeEvent(QResizeEvent *event) override
    {
        ShareWidth(); // first, or a scroll bar flashes up when the window gets narrower
        QTableView::resizeEvent(event);
    }

  private:
    bool sharing_ = false;
    bool widthsChosen_ = false;
};

QTableView *MakeTable(TableModel *model, QWidget *parent)
{
    auto *const table = new DataTable(parent);
    table->setObjectName(QStringLiteral("fgData"));
    table->setModel(model);
    table->setAlternatingRowColors(true);
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setWordWrap(false);
    table->setTabKeyNavigation(false);
    table->verticalHeader()->hide();
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 6);
    table->horizontalHeader()->setHighlightSections(false);
    table->horizontalHeader()->setStretchLastSection(true); // what the rounding leaves, or the user
    table->ShareWidth();
    QSizePolicy policy = table->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    table->setSizePolicy(policy);
    return table;
}

} // namespace

frmData::frmData(std::shared_ptr<DataSet> dataSet, const DataWindowServices &services)
    : data_(std::move(dataSet)), services_(services)
{
    setObjectName(QStringLiteral("frmData"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWidget(BuildContent());
    LeaveShortcutsToTheMenus();
    DataSet *const set = data_.get();
    connect(set, &DataSet::panelChanged, this, &frmData::ShowPanel);
    connect(set, &DataSet::captionChanged, this, &QWidget::setWindowTitle);
    connect(set, &DataSet::gridShown, fgData_, &QWidget::setVisible);
    connect(set, &DataSet::sampleFollowed, this, &frmData::FollowSample);
    connect(set, &DataSet::progressChanged, this, &frmData::ShowProgress);
    setWindowTitle(set->Caption());
    for (const PanelPlace &place : PanelPlaces)
        ShowPanel(place.panel, set->PanelText(place.panel));
    ShowProgress();
    connect(&set->Table(), &QAbstractItemModel::modelReset, this, &frmData::SelectFirst);
    SelectFirst();
    setFocusProxy(fgData_);
    resize(RoomySize());
}

frmData::~frmData()
{
    // The data set may live on in a download that has just ended: let go of its model.
    fgData_->setModel(nullptr);
}

/// The frame's own menu would claim Ctrl+W as well, and then neither gets it.
void frmData::LeaveShortcutsToTheMenus()
{
    const QList<QAction *> actions = systemMenu()->actions();
    for (QAction *const action : actions) {
        if (!action->shortcut().isEmpty())
            action->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_F4));
    }
}

QWidget *frmData::BuildContent()
{
    auto *const content = new QWidget(this);
    auto *const column = new QVBoxLayout(content);
    column->setContentsMargins(6, 6, 6, 6);
    column->setSpacing(4);
    fgData_ = MakeTable(&data_->Table(), content);
    column->addWidget(fgData_, 1);

    pbData_ = new QProgressBar(content);
    pbData_->setObjectName(QStringLiteral("pbData"));
    pbData_->setTextVisible(false);
    column->addWidget(pbData_);

    stBar1_ = new PanelBar(QStringLiteral("stBar1"), content);
    stBar2_ = new PanelBar(QStringLiteral("stBar2"), content);
    stBar3_ = new PanelBar(QStringLiteral("stBar3"), content);
    const std::array<PanelBar *, 3> bars = {stBar1_, stBar2_, stBar3_};
    for (const PanelPlace &place : PanelPlaces)
        bars.at(static_cast<std::size_t>(place.bar))
            ->AddPanel(QString::fromUtf16(place.key), Text(place.caption), place.captionWidth, place.width);
    for (PanelBar *const bar : bars)
        column->addWidget(bar);
    return content;
}

QSize frmData::RoomySize() const
{
    const int table = fgData_->horizontalHeader()->sizeHint().height() + 2 * fgData_->frameWidth() +
                      RoomyRows * fgData_->verticalHeader()->defaultSectionSize();
    return {RoomyWidth * fontMetrics().averageCharWidth(),
            sizeHint().height() - fgData_->sizeHint().height() + table};
}

void frmData::ShowPanel(Panel panel, const QString &text)
{
    const std::array<PanelBar *, 3> bars = {stBar1_, stBar2_, stBar3_};
    for (const PanelPlace &place : PanelPlaces) {
        if (place.panel == panel)
            bars.at(static_cast<std::size_t>(place.bar))->SetText(QString::fromUtf16(place.key), text);
    }
}

void frmData::SelectFirst()
{
    fgData_->scrollToTop();
    fgData_->setCurrentIndex(data_->Table().index(0, 1));
}

void frmData::FollowSample(int sample)
{
    const QModelIndex index = data_->Table().index(sample - 1, 0);
    const QRect row = fgData_->visualRect(index);
    if (!fgData_->viewport()->rect().contains(row.adjusted(0, 0, 1 - row.width(), 0)))
        fgData_->scrollTo(index, QAbstractItemView::PositionAtTop);
}

void frmData::ShowProgress()
{
    pbData_->setVisible(data_->ProgressMaximum() > 0);
    pbData_->setRange(0, data_->ProgressMaximum());
    pbData_->setValue(data_->ProgressValue());
}

void frmData::resizeEvent(QResizeEvent *event)
{
    QMdiSubWindow::resizeEvent(event);
    if (!isMinimized() && !isMaximized() && !isShaded())
        normalSize_ = size();
}

void frmData::closeEvent(QCloseEvent *event)
{
    if (!MayCloseDuring(services_.state->LinkActivity)) {
        event->ignore();
        return;
    }
    if (data_->Saved()) {
        QMdiSubWindow::closeEvent(event);
        return;
    }
    event->ignore();
    if (!asking_)
        services_.jobs->Launch(AskAndClose(this), "closing a data window");
}

QCoro::Task<void> frmData::AskAndClose(QPointer<frmData> window)
{
    window->asking_ = true;
    const bool mayGo = co_await ConfirmClose(window);
    if (!window)
        co_return;
    window->asking_ = false;
    if (!mayGo)
        co_return;
    window->data_->MarkSaved();
    window->close();
}

QCoro::Task<bool> frmData::ConfirmClose(QPointer<frmData> window)
{
    if (window->data_->Saved())
        co_return true;
    if (window->mdiArea())
        window->mdiArea()->setActiveSubWindow(window);
    const QString question = Text(Str::AskSaveChanges) + QStringLiteral("\r\n") + window->windowTitle();
    // Nothing saves a data set yet, so Yes is not offered.
    const Answer answer =
        co_await window->services_.prompts->AskYesNoCancel(question, PromptIcon::Exclamation, false);
    co_return answer == Answer::No;
}

} // namespace px40
