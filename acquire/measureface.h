#pragma once

#include "acquire/instrumentface.h"

namespace px40 {

class ReadingLabel;

/// The instrument's display: function and MEASURE lamp above, the reading with its unit or temperature symbol
/// in the middle, the option indicators below.
class MeasureFace : public InstrumentFace
{
    Q_OBJECT

  public:
    explicit MeasureFace(QWidget *parent);

    static constexpr QSizeF DesignSize{304, 108};

    void Show(const MeasureDisplay &display);

  protected:
    void LayOut() override;
    void LoadDrawings() override;
    void ShowLamp(Lamp lamp) override;

  private:
    ReadingLabel *llValue_;
    DrawnFace *shOn_;
    DrawnFace *shOff_;
};

} // namespace px40
