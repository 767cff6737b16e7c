#pragma once

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
    /// other align; 0 lets it take what is left.
    void AddPanel(const QString &key, const QString &caption, int width);

    void SetText(const QString &key, const QString &text);
    QString PanelText(const QString &key) const;

  private:
    QHBoxLayout *layout_;
    QMap<QString, QLabel *> values_;
};

} // namespace px40
