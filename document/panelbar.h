#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QWidget>

class QHBoxLayout;
class QLabel;

namespace px40 {

/// A line of keyed text panels, each with its caption in front, as it stands below a data set.
class PanelBar : public QWidget
{
    Q_OBJECT

  public:
    explicit PanelBar(const QString &name, QWidget *parent = nullptr);

    /// `width` in average characters gives the panel a fixed room, so that the panels of bars above each
    /// other align; 0 lets it take what is left. `captionWidth` does the same for the least room of the
    /// caption, so that the texts behind the captions align.
    void AddPanel(const QString &key, const QString &caption, int captionWidth, int width);

    void SetText(const QString &key, const QString &text);
    QString PanelText(const QString &key) const;

  protected:
    void changeEvent(QEvent *event) override;

  private:
    QHBoxLayout *layout_;
    QMap<QString, QLabel *> values_;
    QList<QLabel *> captions_;
};

} // namespace px40
