#pragma once

#include <QString>
#include <QWidget>

namespace px40 {

class ElidedLabel;
class InstrumentFace;
class UserStore;

/// A window of its own, above the main window, that shows one side of the instrument. It asks the instrument
/// for nothing: what it shows is handed to it.
///
/// One line says what came of a command that was given here, or since when nothing has come from the
/// instrument.
///
/// It keeps its place from one opening to the next, and deletes itself when closed: by its frame, not by
/// Escape.
class LiveWindow : public QWidget
{
    Q_OBJECT

  public:
    /// What there is to say about the last command, and about the readings; empty: nothing. One line serves
    /// both: it shows the newer one, or the other where that is empty. Before it stands why there is no
    /// value.
    void ShowMessage(const QString &text);
    void ShowNote(const QString &text);

    /// The instrument is a simulated one.
    void SetDemo(bool demo);

    /// Nothing new has come for a while: the last value fades until there is a new one.
    void Fade();

  Q_SIGNALS:
    /// The window has closed, and its place is kept.
    void closed();

  protected:
    /// `name` begins the names under which the place is kept. `store` outlives the window, which is shown by
    /// the caller.
    LiveWindow(const QString &name, UserStore &store, QWidget *parent);

    /// Puts the window where it was last, or at `usual`, always wholly on a screen.
    void Place(const QRect &usual);

    void ShowFault(const QString &fault);

    /// The line, for the subclass to place.
    ElidedLabel *MessageLine() const { return llMessage_; }

    void closeEvent(QCloseEvent *event) override;

  private:
    void ShowLine();
    InstrumentFace *Face() const;

    QString name_;
    UserStore *store_;
    ElidedLabel *llMessage_;
    QString text_;
    QString note_;
    QString fault_;
    bool noteFirst_ = false; ///< the note is newer than the message
    bool open_ = true;
};

} // namespace px40
