#include "source/frmsource.h"

#include "link/rangelists.h"
#include "platform/elidedlabel.h"
#include "platform/geometry.h"
#include "platform/named.h"
#include "resources/icons.h"
#include "source/sourcecommands.h"
#include "source/sourceface.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace px40 {

/// The caption of a list: strong, with a bar before it, while the list is in effect. Takes the same room
/// either way.
class EffectLabel : public QLabel
{
  public:
    using QLabel::QLabel;

    void SetInEffect(bool inEffect)
    {
        if (std::exchange(inEffect_, inEffect) == inEffect)
            return;
        setFont(OfWeight(inEffect));
        update();
    }

    /// A font that leaves all but its weight to the surroundings.
    static QFont OfWeight(bool strong)
    {
        QFont font;
        font.setWeight(strong ? QFont::DemiBold : QFont::Normal);
        return font;
    }

    QSize sizeHint() const override
    {
        QFont strong = font();
        strong.setWeight(QFont::DemiBold);
        const QFontMetrics metrics(strong);
        return {metrics.horizontalAdvance(text()) + 2 * BarWidth() + 2, metrics.height()};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        style()->drawItemText(&painter, rect().adjusted(2 * BarWidth(), 0, 0, 0),
                              Qt::AlignVCenter | Qt::TextShowMnemonic, palette(), isEnabled(), text(),
                              foregroundRole());
        if (inEffect_)
            painter.fillRect(QRect(0, 1, BarWidth(), height() - 2), palette().color(QPalette::Highlight));
    }

  private:
    int BarWidth() const { return std::max(4, fontMetrics().height() / 4); } // and as much behind it

    bool inEffect_ = false;
};

namespace {

constexpr double FirstTopTwips = 1600; // where the window opens first, at the left edge of the screen
constexpr int RatioDigits = 4;         // width of an entry; two are usual
constexpr int SignalEntry = 1;         // entry of the temperature list that is named after the signal

bool IsArrowKey(const QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<const QKeyEvent *>(event)->key();
    return key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_Left || key == Qt::Key_Right;
}

bool IsOpen(const QComboBox *list)
{
    return list->view()->isVisible();
}

} // namespace

frmSource::frmSource(SourceCommands &commands, const RangeLists &ranges, UserStore &store, QWidget *parent)
    : LiveWindow(QStringLiteral("Source"), store, parent), commands_(&commands), face_(new SourceFace(this)),
      controls_(new QWidget(this)), usualFont_(QFontInfo(font()).pixelSize())
{
    setWindowTitle(Text(Str::SourceTitle));
    connect(face_, &SourceFace::stepUp, commands_, &SourceCommands::StepUp);
    connect(face_, &SourceFace::stepDown, commands_, &SourceCommands::StepDown);

    auto *const column = new QVBoxLayout(this);
    column->addWidget(face_, 1);
    auto *const grid = new QGridLayout(controls_);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addLayout(BuildButtons(), 0, 0);
    grid->addWidget(BuildRatio(), 0, 1);
    grid->addWidget(BuildLists("frThermo", Str::SourceThermoFrame,
                               {{SourceDisplay::TcList, "Tc", Str::SourceTc, ranges.TcSourceList},
                                {SourceDisplay::RtdList, "Rtd", Str::SourceRtd, ranges.RtdList},
                                {SourceDisplay::TempList, "Temp", Str::SourceTemp, ranges.TempSetList}}),
                    1, 0);
    grid->addWidget(
        BuildLists("frPulse", Str::SourcePulseFrame,
                   {{SourceDisplay::PulseList, "Pulse", Str::SourceFrequency, ranges.PulseFreqList},
                    {SourceDisplay::PulseSetList, "PulseSet", Str::SourcePulse, ranges.PulseKindList}}),
        1, 1);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    column->addWidget(controls_);
    column->addWidget(MessageLine());
    const QList<QWidget *> controls = findChildren<QWidget *>();
    for (QWidget *const control : controls)
        control->installEventFilter(this);
    btInput_->setFocus(); // the one control in which a stray key changes nothing
    commands_->LoadLists();

    ScaleControls();
    column->activate();                    // makes the minimum size known
    setMinimumSize(column->minimumSize()); // or the larger letters of a large window would raise it
    usualSize_ = sizeHint();
    Place(QRect(QPoint(0, TwipsToPixels(FirstTopTwips, logicalDpiX())), sizeHint()));
}

QBoxLayout *frmSource::BuildButtons()
{
    auto *const row = new QHBoxLayout;
    auto *const btSrcOnOff = NewNamed<QPushButton>(
        "btSrcOnOff", Text(Str::SourceTitle) + QStringLiteral("\n  ") + Text(Str::OnCaption), this);
    btSrcOnOff->setAccessibleName(Text(Str::SourceTitle) + u' ' + Text(Str::OnCaption));
    connect(btSrcOnOff, &QPushButton::clicked, commands_, &SourceCommands::SwitchOnOff);
    btInput_ = NewNamed<QPushButton>("btInput", Text(Str::SourceValueTitle), this);
    btInput_->setToolTip(Text(Str::TipSourceValue));
    connect(btInput_, &QPushButton::clicked, this, &frmSource::valueAsked);
    btNm_ = NewNamed<QPushButton>("btNm", Text(Str::SourceRatio), this);
    btNm_->setToolTip(Text(Str::TipSourceRatio));
    btNm_->setCheckable(true);
    connect(btNm_, &QPushButton::clicked, this, [this] {
        btNm_->setChecked(ratioOn_); // the next status shows whether it has changed
        commands_->SwitchRatio();
    });
    for (QPushButton *const button : {btSrcOnOff, btInput_, btNm_}) {
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
        row->addWidget(button, 1);
    }
    return row;
}

QGroupBox *frmSource::BuildRatio()
{
    auto *const frNm = NewNamed<QGroupBox>("frNm", Text(Str::SourceRatio), this);
    auto *const row = new QHBoxLayout(frNm);
    const auto add = [&](const char *labelName, const char *boxName, Str caption) {
        auto *const label = NewNamed<QLabel>(labelName, Text(caption), frNm);
        auto *const box = NewNamed<QLineEdit>(boxName, frNm);
        box->setAccessibleName(Text(Str::SourceRatio) + u' ' + Text(caption));
        label->setBuddy(box);
        row->addWidget(label);
        row->addWidget(box);
        return box;
    };
    QLineEdit *const tbN = add("llN", "tbN", Str::SourceRatioN);
    QLineEdit *const tbM = add("llM", "tbM", Str::SourceRatioM);
    auto *const btNmSet = NewNamed<QPushButton>("btNmSet", Text(Str::SourceSet), this);
    row->addWidget(btNmSet);
    row->addStretch(1);
    connect(btNmSet, &QPushButton::clicked, this,
            [this, tbN, tbM] { commands_->SetRatio(tbN->text(), tbM->text()); });
    for (const QLineEdit *const box : {tbN, tbM})
        connect(box, &QLineEdit::returnPressed, btNmSet, &QPushButton::click);
    return frNm;
}

QGroupBox *frmSource::BuildLists(const char *name, Str caption, std::initializer_list<RangeList> lists)
{
    auto *const frame = NewNamed<QGroupBox>(name, Text(caption), this);
    auto *const grid = new QGridLayout(frame);
    grid->setColumnStretch(1, 1);
    for (const RangeList &list : lists)
        AddList(grid, list);
    grid->setRowStretch(grid->rowCount(), 1);
    return frame;
}

void frmSource::AddList(QGridLayout *grid, const RangeList &list)
{
    auto *const label =
        NewNamed<EffectLabel>(QStringLiteral("ll") + QLatin1StringView(list.name), Text(list.caption), this);
    auto *const box = NewNamed<QComboBox>(QStringLiteral("cb") + QLatin1StringView(list.name), this);
    box->addItems(list.entries);
    box->setCurrentIndex(0);
    box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    box->setFocusPolicy(Qt::StrongFocus);
    label->setBuddy(box);
    captions_[list.list] = label;
    const int row = grid->rowCount();
    grid->addWidget(label, row, 0);
    grid->addWidget(box, row, 1);
    lists_[list.list] = box;
    connect(box, &QComboBox::activated, this,
            [this, control = SourceList(list.list)](int position) { commands_->Select(control, position); });
}

void frmSource::Show(const SourceDisplay &display)
{
    QWidget *const focused = focusWidget();
    face_->Show(display);
    ShowFault(display.fault);
    ShowInEffect(display);
    if (std::none_of(lists_.begin(), lists_.end(), IsOpen))
        EnableRangeLists(display.mayChooseRange);
    if (!commands_->IsUserWaiting())
        ShowLists(display);
    KeepFocusSafe(focused);
}

void frmSource::ShowInEffect(const SourceDisplay &display)
{
    for (std::size_t list = 0; list < captions_.size(); ++list)
        captions_[list]->SetInEffect(display.inEffect[list]);
    if (std::exchange(ratioOn_, display.ratioOn) == display.ratioOn)
        return;
    btNm_->setChecked(ratioOn_);
    btNm_->setFont(EffectLabel::OfWeight(ratioOn_));
    btNm_->setIcon(ratioOn_ ? MakeIcon(u"lampon", palette()) : QIcon()); // in colours of its own
}

/// In a large window they grow with the display.
void frmSource::ScaleControls()
{
    const double scale = usualSize_.isEmpty() ? 1
                                              : std::min(static_cast<double>(width()) / usualSize_.width(),
                                                         static_cast<double>(height()) / usualSize_.height());
    QFont font;
    font.setPixelSize(static_cast<int>(usualFont_ * std::max(1.0, scale)));
    if (controls_->font().pixelSize() == font.pixelSize())
        return;
    controls_->setFont(font);
    MessageLine()->setFont(font);
    btNm_->setIconSize(QSize(font.pixelSize(), font.pixelSize()) * 1.3);
    const QFontMetrics metrics(font);
    const QList<QLineEdit *> boxes = controls_->findChildren<QLineEdit *>();
    for (QLineEdit *const box : boxes)
        box->setFixedWidth(metrics.horizontalAdvance(u'0') * RatioDigits + metrics.height());
}

void frmSource::resizeEvent(QResizeEvent *event)
{
    LiveWindow::resizeEvent(event);
    ScaleControls();
}

/// When a control is disabled, Qt moves the focus to the next one, where a key could step a digit. Moves it
/// to a button where keys do no harm instead, and back when the control is enabled again.
void frmSource::KeepFocusSafe(QWidget *focused)
{
    if (focused && !focused->isEnabled()) {
        disabledFocus_ = focused;
        btInput_->setFocus();
    } else if (disabledFocus_ && disabledFocus_->isEnabled()) {
        if (focused == btInput_)
            disabledFocus_->setFocus();
        disabledFocus_ = nullptr;
    }
}

void frmSource::ShowLists(const SourceDisplay &display)
{
    QComboBox *const cbTemp = lists_[SourceDisplay::TempList];
    if (!display.signalEntry.isEmpty() && !IsOpen(cbTemp))
        cbTemp->setItemText(SignalEntry, display.signalEntry);
    for (std::size_t list = 0; list < lists_.size(); ++list) {
        const int position = display.positions[list];
        // This sends nothing: only `activated` does, which the user alone causes.
        if (position != SourceDisplay::KeepPosition && !IsOpen(lists_[list]))
            lists_[list]->setCurrentIndex(position);
    }
}

void frmSource::EnableRangeLists(bool enabled)
{
    for (QComboBox *const list : lists_)
        list->setEnabled(enabled);
}

bool frmSource::eventFilter(QObject *watched, QEvent *event)
{
    const auto *const control = static_cast<QWidget *>(watched);
    // A user who clicks a disabled control expects it to have the focus; the keys that follow must not step a
    // digit that still has the focus or would get it back.
    if (event->type() == QEvent::MouseButtonPress && !control->isEnabled()) {
        btInput_->setFocus();
        disabledFocus_ = nullptr;
    }
    // Nor may an arrow key move the focus from a nearby button to a digit.
    if (IsArrowKey(event) && qobject_cast<QPushButton *>(watched) && !face_->isAncestorOf(control))
        return true;
    // A wheel turned over a list on the way to something else must not change the instrument's range.
    if (event->type() != QEvent::Wheel || !qobject_cast<QComboBox *>(watched))
        return LiveWindow::eventFilter(watched, event);
    event->ignore();
    return true;
}

} // namespace px40
