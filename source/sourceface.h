#pragma once

#include "acquire/instrumentface.h"
#include "resources/strings.h"

#include <array>

class QAbstractButton;

namespace px40 {

class PointMark;
struct SourceDisplay;

/// The instrument's display of its source: function and SOURCE lamp above, the set value with its unit or
/// temperature symbol in the middle, the option indicators below. Each of the five digits has a button over
/// it that steps it up and one under it that steps it down; with the focus on one of them, Left and Right go
/// from digit to digit, Up and Down step.
class SourceFace : public InstrumentFace
{
    Q_OBJECT

  public:
    static constexpr int Digits = 5;

    explicit SourceFace(QWidget *parent);

    void Show(const SourceDisplay &display);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  Q_SIGNALS:
    void stepUp(int digit); ///< 0-based from the left
    void stepDown(int digit);

  protected:
    void LayOut() override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    using Buttons = std::array<QAbstractButton *, Digits>;

    void BuildButtons(const char *name, Str caption, Buttons *buttons);
    void LoadIcons();
    bool OnKey(int key, const QObject *button);

    std::array<PointMark *, Digits - 1> shDec_{};
    Buttons btUp_{};
    Buttons btDown_{};
    QWidget *llWaku_;
};

} // namespace px40
