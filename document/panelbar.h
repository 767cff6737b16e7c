#pragma once

#include <QList>
#include <QString>
#include <QWidget>

class QHBoxLayout;
class QLabel;

namespace px40 {

class ElidedLabel;

/// A line of keyed text panels, each with its caption in front, for below a data set.
class PanelBar : public QWidget
{
    Q_OBJECT

  public:
    explicit PanelBar(const QString &name, QWidget *parent = nullptr);

    /// Draws a hairline above the panels.
    void SetLineAbove() { lineAbove_ = true; }

    /// Adds a panel and returns the label for its text. `width` in average characters gives the panel a fixed
    /// room, so that the panels of bars above each other align; 0 lets it take what is left. `captionWidth`
    /// does the same for the least room of the caption, so that the texts after the captions align.
    ElidedLabel *AddPanel(const QString &key, const QString &caption, int captionWidth, int width);

  protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

  private:
    QHBoxLayout *layout_;
    bool lineAbove_ = false;
    QList<QLabel *> captions_;
};

} // namespace px40
