#pragma once

#include "acquire/measuredisplay.h"

#include <QWidget>

#include <array>

class QLabel;

namespace px40 {

class DrawnFace;
class ReadingLabel;

/// The instrument's display: function and MEASURE lamp above, the reading with its unit or temperature symbol
/// in the middle, the option indicators below. Everything on it grows with the widget.
class MeasureFace : public QWidget
{
    Q_OBJECT

  public:
    explicit MeasureFace(QWidget *parent);

    /// The size for which the string table's font sizes are meant, in pixels of 1/96 inch. Nothing is cut
    /// from there on upwards.
    static constexpr QSizeF DesignSize{304, 108};

    void Show(const MeasureDisplay &display);

  protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

  private:
    QLabel *NewLabel(const char *name, Qt::Alignment alignment);
    void NameDrawings();
    void LoadDrawings();
    /// How much larger than its design size the face is.
    double Scale() const;
    void LayOut();

    QLabel *llFunction_;
    QLabel *llState_;
    ReadingLabel *llValue_;
    QLabel *llUnit_;
    std::array<QLabel *, 7> llDipsw_{};
    std::array<DrawnFace *, 3> imUnit_{};
    DrawnFace *shOn_;
    DrawnFace *shOff_;
};

/// The table's font in the table's size `sizeText` (points), `scale` times as large, for a widget.
QFont FaceFont(const QString &sizeText, double scale);

} // namespace px40
