#pragma once

#include "acquire/measuredisplay.h"
#include "platform/named.h"

#include <QFont>
#include <QList>
#include <QWidget>

#include <array>
#include <span>

class QLabel;

namespace px40 {

class IconLabel;
class ReadingLabel;

/// How the display of one side of the instrument is laid out. Lengths are in pixels of 1/96 inch and hold for
/// the size for which the string table's font sizes are meant; at that size and above nothing is cut off.
struct FaceDesign
{
    struct Cell
    {
        QString name; ///< of the control
        double width;
    };

    QSizeF size;
    QString side;                      ///< whose state the lamp shows
    std::array<const char *, 2> lamps; ///< the controls for off and on, which may be the same one
    QList<Cell> reading;               ///< from the left; characters are at the right end of the first
                                       ///< cell, in the middle of the others
    double readingTop;
    double unitWidth;
    double readingScale = 1;        ///< of the characters of the reading, beside the table's size
    std::size_t firstIndicator = 0; ///< those before it are never lit on this side
    bool isOutput = false;          ///< its frame shows that it is on
};

/// The display of one side of the instrument: function and lamp above, the reading with its unit or
/// temperature symbol in the middle, the option indicators below. Everything on it grows with the widget;
/// if the widget has other proportions than the design, the extra space is left around the reading.
class InstrumentFace : public QWidget
{
    Q_OBJECT

  public:
    InstrumentFace(const FaceDesign &design, QWidget *parent);

    /// `reading` has a text for each cell; `value` is all of it with its decimal point.
    void Show(const SideDisplay &display, std::span<const QString> reading, const QString &value);

    /// Nothing new has come for a while: the texts fade, and the lamp goes out of sight, since its state is
    /// no longer known. Lasts until `Show`.
    void Fade();

    /// Says on the display that the instrument is a simulated one.
    void SetDemo(bool demo);

    /// For a screen reader, and only when it asks: the reading (`SpokenReading`), and whether that side is on
    /// or what is shown is old.
    QString Spoken() const { return spoken_; }
    QString SpokenState() const;

  protected:
    static constexpr double Edge = 12;
    static constexpr double ReadingHeight = 54;

    template <typename Label>
    Label *NewLabel(const QString &name, Qt::Alignment alignment);

    /// How much larger than its design the face is; `Place` is a place on it in the design's units.
    double Scale() const;
    QRect Place(double left, double top, double width, double height) const;
    /// Of reading and unit, in the design's units.
    QRectF ReadingPlace() const;
    /// The line on which the characters of the reading stand, in pixels.
    double Baseline() const;

    /// Called when the size has changed.
    virtual void LayOut();

    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

  private:
    enum class Lamp { None, Off, On };

    void LayOutTopRow();
    void LayOutReading();
    void LayOutIndicators();
    QString LampText(bool on) const;
    void SetLamp(Lamp lamp);
    QFont::Weight StateWeight() const;
    void SetFaded(bool faded);

    FaceDesign design_;
    QLabel *llFunction_;
    QLabel *llState_;
    QLabel *llUnit_;
    QList<ReadingLabel *> reading_;
    std::array<QLabel *, 7> llDipsw_{};
    std::array<IconLabel *, 3> imUnit_{};
    std::array<IconLabel *, 2> lamps_{};
    Lamp lamp_ = Lamp::None;
    QLabel *llDemo_;
    bool faded_ = false;
    QString spoken_; ///< empty: nothing was shown yet
};

/// The table's font in the table's size `sizeText` (points), `scale` times as large, for a widget.
QFont FaceFont(const QString &sizeText, double scale);

template <typename Label>
Label *InstrumentFace::NewLabel(const QString &name, Qt::Alignment alignment)
{
    auto *const label = NewNamed<Label>(name, this);
    label->setAccessibleName(name); // or each new text is told to screen readers at once
    label->setTextFormat(Qt::PlainText);
    label->setForegroundRole(QPalette::Text);
    label->setAlignment(alignment);
    return label;
}

} // namespace px40
