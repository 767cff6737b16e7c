#pragma once

#include <QLabel>

namespace px40 {

/// A line of plain text that shows by "..." when there is more of it than fits; the tool tip has more of it.
/// With `wordWrap` it goes on in the next line instead.
class ElidedLabel : public QLabel
{
    Q_OBJECT

  public:
    explicit ElidedLabel(QWidget *parent);

    /// Plain text, whatever it looks like: what the user has typed, or a file's name, is no markup.
    void SetText(const QString &text);

    /// That part of the text, if it is in there, is shown in a stronger weight.
    void SetStrong(const QString &part);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    QString Before(qsizetype end, int room) const;

    QString strong_;
};

} // namespace px40
