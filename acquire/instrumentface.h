#pragma once

#include "acquire/measuredisplay.h"

#include <QPalette>
#include <QWidget>

#include <array>

class QLabel;

namespace px40 {

class DrawnFace;

/// The display of one side of the instrument, with what both sides have: function and lamp above, a unit or
/// temperature symbol behind the reading, the option indicators below. The reading is the subclass's.
/// Everything on it grows with the widget.
class InstrumentFace : public QWidget
{
    Q_OBJECT

  public:
    /// Nothing new has come for a while: what stands there fades, and the lamp, of which nobody knows by now,
    /// goes. Lasts until `ShowSide`.
    void Fade();

  protected:
    /// `designSize`: the size for which the string table's font sizes are meant, in pixels of 1/96 inch;
    /// nothing is cut from there on upwards. `side`: what the lamp tells the state of.
    InstrumentFace(const QSizeF &designSize, const QString &side, QWidget *parent);

    /// Places on the face, in units of its design size.
    static constexpr double Edge = 12;
    static constexpr double UnitGap = 8;
    static constexpr double SymbolSide = 42;
    static constexpr double ReadingHeight = 54;

    enum class Lamp { None, Off, On };
    static Lamp LampOf(bool known, bool on) { return !known ? Lamp::None : on ? Lamp::On : Lamp::Off; }

    void ShowSide(const QString &unit, const QString &function, MeasureDisplay::Symbol symbol, Lamp lamp,
                  const OptionIndicators &indicators);

    QLabel *NewLabel(const char *name, Qt::Alignment alignment);
    /// What the lamp says.
    QString LampText(bool on) const;
    /// The role of the ink, and the colours for drawings that lie on the display.
    QPalette::ColorRole Ink() const { return faded_ ? QPalette::PlaceholderText : QPalette::Text; }
    QPalette Ground() const;

    /// How much larger than its design size the face is; `Area` is its size in the design's units.
    double Scale() const;
    QSizeF Area() const;
    QRect Place(double left, double top, double width, double height) const;
    QRect LampPlace() const { return lampPlace_; }
    /// Unit or symbol, beside a reading of the usual height; the unit on the reading's `baseline`, in pixels.
    void PlaceUnit(double left, double top, double width, double baseline);

    /// Called when the size has changed: the base places all but reading, unit and lamp.
    virtual void LayOut();
    /// Called when the colours have changed.
    virtual void LoadDrawings();
    virtual void ShowLamp(Lamp lamp) = 0;

    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    void LayOutTopRow();
    void LayOutIndicators();
    void SetLamp(Lamp lamp);
    void SetFaded(bool faded);

    QSizeF designSize_;
    QString side_;
    QLabel *llFunction_;
    QLabel *llState_;
    QLabel *llUnit_;
    std::array<QLabel *, 7> llDipsw_{};
    std::array<DrawnFace *, 3> imUnit_{};
    QRect lampPlace_;
    bool faded_ = false;
};

/// The table's font in the table's size `sizeText` (points), `scale` times as large, for a widget.
QFont FaceFont(const QString &sizeText, double scale);

} // namespace px40
