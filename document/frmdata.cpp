#include "document/frmdata.h"

#include "document/datatable.h"
#include "document/panelbar.h"
#include "document/selectionsummary.h"
#include "graph/chart.h"
#include "graph/graphexport.h"
#include "graph/graphpane.h"
#include "link/linkstate.h"
#include "platform/elidedlabel.h"
#include "platform/geometry.h"
#include "platform/jobs.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QAction>
#include <QClipboard>
#include <QCloseEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMdiArea>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QProgressBar>
#include <QScrollBar>
#include <QSplitter>
#include <QStyleOption>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <utility>

namespace px40 {

/// How far a run with a period has come: a thin line that keeps its place when it is not shown.
class RunBar : public QProgressBar
{
  public:
    explicit RunBar(QWidget *parent) : QProgressBar(parent)
    {
        setObjectName(QStringLiteral("pbData"));
        setTextVisible(false);
        setFixedHeight(4);
        QSizePolicy policy = sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        setSizePolicy(policy);
    }

    void SetEnded(bool ended)
    {
        ended_ = ended;
        update();
    }

  protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const QColor ground = palette().color(QPalette::Window);
        painter.fillRect(rect(), Mix(ground, palette().color(QPalette::WindowText), 0.12));
        // The style's Mid, where it stands out from the ground.
        const QColor mid = palette().color(QPalette::Mid);
        const bool dark = ground.lightness() < 128;
        const QColor done = dark ? Mix(ground, palette().color(QPalette::WindowText), 0.45) : mid;
        const double share = maximum() > 0 ? static_cast<double>(value()) / maximum() : 0;
        painter.fillRect(QRectF(0, 0, width() * share, height()),
                         ended_ ? done : palette().color(QPalette::Highlight));
    }

  private:
    bool ended_ = false;
};

namespace {

struct PanelPlace
{
    Panel panel;
    int bar; ///< 0 to 2
    const char *key;
    Str caption;
    int captionWidth; ///< in characters
    int width;        ///< of the whole panel, in characters; 0: what is left
};

constexpr int FirstColumnWidth = 35;
constexpr int FirstCaptionWidth = 9;
constexpr int CaptionWidth = 5;
constexpr int InitialWidth = 120; // shows the longest text of a panel
constexpr int InitialRows = 8;
constexpr int InitialGraphRows = 9; // the height of the graph, in rows of the table

constexpr std::array<PanelPlace, PanelCount> PanelPlaces = {{
    {Panel::Label, 0, "Label", Str::LabelKind, FirstCaptionWidth, FirstColumnWidth},
    {Panel::Max, 0, "Max", Str::StatisticMax, CaptionWidth, 0},
    {Panel::Interval, 1, "Interval", Str::LabelInterval, FirstCaptionWidth, FirstColumnWidth},
    {Panel::Min, 1, "Min", Str::StatisticMin, CaptionWidth, 0},
    {Panel::Period, 2, "Period", Str::LabelPeriod, FirstCaptionWidth, FirstColumnWidth},
    {Panel::Avg, 2, "Avg", Str::StatisticAvg, CaptionWidth, 0},
    {Panel::X, 2, "X", Str::LabelXAxis, 0, 24},
}};

/// Where the table stands: it keeps its space and its ground while the table is hidden, and cuts no row.
class TablePlace : public QWidget
{
  public:
    using QWidget::QWidget;

    void Hold(DataTable *table)
    {
        table_ = table;
        connect(table->horizontalScrollBar(), &QScrollBar::rangeChanged, this, &TablePlace::LayOut);
    }

    QSize sizeHint() const override { return table_->sizeHint(); }

  protected:
    void resizeEvent(QResizeEvent *) override { LayOut(); }

    void paintEvent(QPaintEvent *) override
    {
        if (!table_->isHidden())
            return;
        QPainter painter(this);
        painter.fillRect(table_->geometry(), palette().color(QPalette::Base));
        QStyleOption option;
        option.initFrom(this);
        option.rect = table_->geometry();
        style()->drawPrimitive(QStyle::PE_Frame, &option, &painter, this);
    }

  private:
    void LayOut() { table_->setGeometry(0, 0, width(), table_->HeightOfWholeRows(height())); }

    DataTable *table_ = nullptr;
};

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
    connect(set, &DataSet::captionChanged, this, &frmData::ShowTitle);
    connect(set, &DataSet::savedChanged, this, &frmData::ShowTitle);
    connect(set, &DataSet::protectedChanged, this, &frmData::ShowTitle);
    connect(set, &DataSet::gridShown, fgData_, &QWidget::setVisible);
    connect(set, &DataSet::sampleFollowed, this, &frmData::FollowSample);
    connect(set, &DataSet::progressChanged, this, &frmData::ShowProgress);
    connect(this, &QMdiSubWindow::aboutToActivate, this, &frmData::IgnoreStateChanges);
    ShowTitle();
    for (const PanelPlace &place : PanelPlaces)
        ShowPanel(place.panel, set->PanelText(place.panel));
    ShowProgress();
    connect(&set->Table(), &QAbstractItemModel::modelReset, this, &frmData::SelectFirst);
    const auto summarise = [this] { // at most once a turn of the event loop
        if (!std::exchange(summing_, true))
            QMetaObject::invokeMethod(this, &frmData::SummariseSelection, Qt::QueuedConnection);
    };
    connect(fgData_->selectionModel(), &QItemSelectionModel::selectionChanged, this, summarise);
    // A sample may have come in a selected row that was empty.
    connect(&set->Table(), &QAbstractItemModel::dataChanged, this, summarise);
    SelectFirst();
    setFocusProxy(fgData_);
    resize(InitialSize());
}

frmData::~frmData()
{
    // The data set may live on in a download that has just ended: let go of its model.
    fgData_->setModel(nullptr);
}

/// An asterisk after the caption marks unsaved rows; Qt puts it in the place of "[*]". That text in a caption
/// is shown as it is: an invisible character keeps Qt from replacing it.
void frmData::ShowTitle()
{
    const QString place = QStringLiteral("[*]");
    QStringList title(data_->Caption().replace(place, QStringLiteral("[\u200b*]")));
    if (data_->Recovered() && data_->Simulated())
        title << Text(Str::Simulated);
    if (data_->Recovered())
        title << Text(Str::Recovered);
    if (!data_->Protected())
        title << Text(Str::NotProtected);
    setWindowTitle(title.join(u' ') + place);
    setWindowModified(!data_->Saved());
}

/// The window frame's own menu has Ctrl+W as well; a shortcut with two owners triggers neither.
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
    column->addWidget(BuildViews(content), 1);

    pbData_ = new RunBar(content);
    column->addWidget(pbData_);

    std::array<PanelBar *, 3> bars{};
    for (PanelBar *&bar : bars) {
        bar = new PanelBar(QStringLiteral("stBar%1").arg(&bar - bars.data() + 1), content);
        column->addWidget(bar);
    }
    bars.front()->SetLineAbove();
    for (const PanelPlace &place : PanelPlaces)
        panels_[static_cast<std::size_t>(place.panel)] =
            bars.at(static_cast<std::size_t>(place.bar))
                ->AddPanel(QString::fromLatin1(place.key), Text(place.caption), place.captionWidth,
                           place.width);
    return content;
}

/// The table above the graph; the border between them can be moved.
QWidget *frmData::BuildViews(QWidget *parent)
{
    auto *const views = new QSplitter(Qt::Vertical, parent);
    views->setChildrenCollapsible(false);
    views->setHandleWidth(6);
    auto *const place = new TablePlace(views);
    fgData_ = new DataTable(&data_->Table(), place);
    fgData_->setMinimumHeight(fgData_->horizontalHeader()->sizeHint().height() + 2 * fgData_->frameWidth() +
                              2 * fgData_->verticalHeader()->defaultSectionSize());
    place->Hold(fgData_);
    place->setMinimumHeight(fgData_->minimumHeight());
    graph_ = new GraphPane(&data_->Graph(), views);
    connect(graph_->Graph(), &Chart::copyRequested, this, &frmData::CopyGraph);
    connect(graph_->Graph(), &Chart::saveAsRequested, this, &frmData::SaveGraph);
    views->setStretchFactor(0, InitialRows);
    views->setStretchFactor(1, InitialGraphRows);
    return views;
}

QSize frmData::InitialSize() const
{
    const int row = fgData_->verticalHeader()->defaultSectionSize();
    const int table = fgData_->horizontalHeader()->sizeHint().height() + 2 * fgData_->frameWidth();
    return {InitialWidth * fontMetrics().averageCharWidth(),
            sizeHint().height() - fgData_->sizeHint().height() - graph_->sizeHint().height() + table +
                (InitialRows + InitialGraphRows) * row};
}

void frmData::ApplyShape()
{
    const WindowShape shape = data_->Shape();
    const QSize size(TwipsToPixels(shape.width, logicalDpiX()), TwipsToPixels(shape.height, logicalDpiY()));
    normalSize_ = size.expandedTo(minimumSizeHint());
    resize(normalSize_);
    if (shape.state == WindowShape::Maximised)
        setWindowState(windowState() | Qt::WindowMaximized);
    else if (shape.state == WindowShape::Minimised)
        setWindowState(windowState() | Qt::WindowMinimized);
    data_->SetShape(shape); // resizing has changed it
}

/// When the active window is maximised and another one is activated, QMdiArea restores the old one and
/// maximises the new one. The user chose neither, so neither is remembered.
void frmData::IgnoreStateChanges()
{
    const QList<QMdiSubWindow *> windows = mdiArea() ? mdiArea()->subWindowList() : QList<QMdiSubWindow *>();
    for (QMdiSubWindow *const one : windows) {
        auto *const window = qobject_cast<frmData *>(one);
        if (!window || std::exchange(window->ignoringStates_, true))
            continue;
        const auto over = [window] { window->ignoringStates_ = false; };
        QMetaObject::invokeMethod(window, over, Qt::QueuedConnection);
    }
}

/// A minimised window is remembered as a normal one.
void frmData::RememberState(Qt::WindowStates before)
{
    constexpr Qt::WindowStates Kept = Qt::WindowMinimized | Qt::WindowMaximized;
    if (ignoringStates_ || (before & Kept) == (windowState() & Kept))
        return;
    WindowShape shape = data_->Shape();
    shape.state = isMaximized() && !isMinimized() ? WindowShape::Maximised : WindowShape::Normal;
    data_->SetShape(shape);
}

/// A width or height that was changed only by the window's minimum size is remembered as it was.
void frmData::RememberSize()
{
    const QSize before = std::exchange(normalSize_, size());
    const QSize least = minimumSizeHint();
    const auto remember = [](int now, int then, int minimum, double dotsPerInch, int *kept) {
        if (now != then && now != std::max(TwipsToPixels(*kept, dotsPerInch), minimum))
            *kept = PixelsToTwips(now, dotsPerInch);
    };
    WindowShape shape = data_->Shape();
    remember(width(), before.width(), least.width(), logicalDpiX(), &shape.width);
    remember(height(), before.height(), least.height(), logicalDpiY(), &shape.height);
    data_->SetShape(shape);
}

void frmData::ShowPanel(Panel panel, const QString &text)
{
    ElidedLabel *const label = panels_.at(static_cast<std::size_t>(panel));
    label->SetText(text);
    if (panel == Panel::Max || panel == Panel::Min) { // the extreme itself stands out
        const qsizetype begin = text.indexOf(data_->Table().Heading(2) + u'[');
        label->SetStrong(begin < 0 ? QString() : text.mid(begin, text.indexOf(u']', begin) + 1 - begin));
    }
}

void frmData::SelectFirst()
{
    fgData_->scrollToTop();
    fgData_->setCurrentIndex(data_->Table().index(0, 1));
}

/// At most once a turn of the event loop: finding a row lays out the whole table.
void frmData::FollowSample(int sample)
{
    if (std::exchange(followed_, sample) == 0)
        QMetaObject::invokeMethod(this, &frmData::ShowFollowed, Qt::QueuedConnection);
}

void frmData::ShowFollowed()
{
    fgData_->ShowRow(std::exchange(followed_, 0) - 1);
}

void frmData::SummariseSelection()
{
    summing_ = false;
    const QItemSelectionModel *const selected = fgData_->selectionModel();
    if (std::exchange(selectionText_, px40::SelectionText(*data_, selected->selection())) != selectionText_)
        Q_EMIT selectionTextChanged();
}

void frmData::ShowProgress()
{
    pbData_->setVisible(data_->ProgressMaximum() > 0);
    pbData_->setRange(0, data_->ProgressMaximum());
    pbData_->setValue(data_->ProgressValue());
    pbData_->SetEnded(data_->HasProgressEnded());
}

void frmData::resizeEvent(QResizeEvent *event)
{
    QMdiSubWindow::resizeEvent(event);
    if (!isMinimized() && !isMaximized() && !isShaded())
        RememberSize();
}

void frmData::changeEvent(QEvent *event)
{
    // Before the base class, which makes another window active when this one is minimised.
    if (event->type() == QEvent::WindowStateChange)
        RememberState(static_cast<QWindowStateChangeEvent *>(event)->oldState());
    QMdiSubWindow::changeEvent(event);
}

void frmData::closeEvent(QCloseEvent *event)
{
    if (!MayClose(*services_.state)) {
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
    const auto confirm = window->services_.confirmClose;
    const std::shared_ptr<DataSet> set = window->data_;
    const bool mayGo = co_await confirm(set);
    if (!window)
        co_return;
    window->asking_ = false;
    // A run may have begun while the question was open, and its rows are not what was asked about.
    if (!mayGo || !MayClose(*window->services_.state))
        co_return;
    window->data_->MarkSaved();
    window->close();
}

void frmData::CopyGraph()
{
    QGuiApplication::clipboard()->setMimeData(GraphMimeData(*graph_->Graph(), GraphCaption()).release());
}

QString frmData::GraphCaption() const
{
    return QFileInfo(data_->Caption()).fileName();
}

void frmData::SaveGraph()
{
    const auto write = [window = QPointer(this)](const QString &name) {
        return window ? WriteGraphFile(*window->graph_->Graph(), name, window->GraphCaption()) : Result<>();
    };
    services_.jobs->Launch(services_.saveGraph(data_, write), "saving a graph");
}

} // namespace px40
