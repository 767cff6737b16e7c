#pragma once

#include "forward/sheettarget.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <functional>

namespace px40 {

/// What a spreadsheet was told, and how it is to answer.
struct Script
{
    QStringList calls;
    QHash<QString, QList<SheetStep>> answers; ///< by the call's first word; `Done` when there is none left
    std::function<void(const QString &)> onCall;
    int held = 0; ///< targets that somebody still has

    SheetStep Call(const QString &call)
    {
        calls.append(call);
        if (onCall)
            onCall(call);
        QList<SheetStep> &left = answers[call.section(u' ', 0, 0)];
        return left.isEmpty() ? SheetStep::Done : left.takeFirst();
    }
    QStringList Cells() const { return calls.filter(QStringLiteral("cell ")); }
};

class ScriptedSheet : public SheetTarget
{
  public:
    explicit ScriptedSheet(Script &script) : script_(&script) { ++script.held; }
    ~ScriptedSheet() override { --script_->held; }

    SheetStep Attach() override { return script_->Call(QStringLiteral("attach")); }
    SheetStep OpenOrAdd(const std::string &) override { return script_->Call(QStringLiteral("open")); }
    SheetStep SetVisible(bool on) override { return script_->Call(QStringLiteral("visible %1").arg(on)); }
    SheetStep SetInteractive(bool on) override
    {
        return script_->Call(QStringLiteral("interactive %1").arg(on));
    }
    SheetStep SetCell(int row, int column, CellFormat, std::string_view text) override
    {
        return script_->Call(QStringLiteral("cell %1,%2 %3")
                                 .arg(row)
                                 .arg(column)
                                 .arg(QString::fromUtf8(text.data(), qsizetype(text.size()))));
    }
    SheetStep SetBorder(const CellRange &, Edge, BorderWeight) override { return SheetStep::Done; }
    SheetStep Centre(const CellRange &) override { return SheetStep::Done; }
    SheetStep Activate(int, int) override { return SheetStep::Done; }
    SheetStep AddChart(const SheetChart &) override { return script_->Call(QStringLiteral("chart")); }
    std::string ErrorText() const override { return "The server is gone."; }

  private:
    Script *script_;
};

} // namespace px40
