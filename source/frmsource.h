#pragma once

#include "acquire/livewindow.h"
#include "resources/strings.h"
#include "source/sourcedisplay.h"

#include <QPointer>

#include <array>
#include <initializer_list>

class QBoxLayout;
class QComboBox;
class QGridLayout;
class QGroupBox;
class QPushButton;

namespace px40 {

class EffectLabel;
class SourceCommands;
class SourceFace;
struct RangeLists;

/// "SOURCE": what the instrument's source puts out, and the controls that switch, step and set it. Every
/// control only asks for a command (SourceCommands), which is sent when the link is free, also after the
/// window was closed. It may be closed at any time.
class frmSource : public LiveWindow
{
    Q_OBJECT

  public:
    /// Its lists are filled and show their first entries, which counts as chosen by the user. `commands`
    /// and `store` must outlive it.
    frmSource(SourceCommands &commands, const RangeLists &ranges, UserStore &store,
              QWidget *parent = nullptr);

    /// An empty display is that of an instrument of which nothing is known. Only what has changed is
    /// repainted. A list that is open is left alone, and so are all of them while a command of the user
    /// waits: what is shown is then older than what the user wants.
    void Show(const SourceDisplay &display);

    /// All five lists together.
    void EnableRangeLists(bool enabled);

  Q_SIGNALS:
    /// The user wants to type the source value.
    void valueAsked();

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

  private:
    struct RangeList
    {
        SourceDisplay::List list;
        const char *name;
        Str caption;
        const QStringList &entries;
    };

    QBoxLayout *BuildButtons();
    QGroupBox *BuildRatio();
    QGroupBox *BuildLists(const char *name, Str caption, std::initializer_list<RangeList> lists);
    void AddList(QGridLayout *grid, const RangeList &list);
    void ShowInEffect(const SourceDisplay &display);
    void ScaleControls();
    void ShowLists(const SourceDisplay &display);
    void KeepFocusSafe(QWidget *focused);

    SourceCommands *commands_;
    SourceFace *face_;
    QWidget *controls_; ///< all below the face
    QPushButton *btInput_ = nullptr;
    QPushButton *btNm_ = nullptr;
    QPointer<QWidget> disabledFocus_; ///< had the focus until it was disabled
    std::array<QComboBox *, SourceDisplay::Lists> lists_{};
    std::array<EffectLabel *, SourceDisplay::Lists> captions_{};
    int usualFont_ = 0; ///< of the controls at the usual size, in pixels
    QSize usualSize_;
    bool ratioOn_ = false;
};

} // namespace px40
