#pragma once

#include "forward/sheettarget.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <functional>

namespace px40 {

/// How a spreadsheet takes a call.
enum class Reply { Done, Again, Busy, Failed };

/// What a spreadsheet was told, and how it is to answer.
struct Script
{
    QStringList calls;
    QHash<QString, QList<Reply>> answers; ///< by the call's first word; `Done` when there is none left
    std::function<void(const QString &)> onCall;
    int held = 0; ///< targets that somebody still has

    SheetStep Call(const QString &call)
    {
        calls.append(call);
        if (onCall)
            onCall(call);
        QList<Reply> &left = answers[call.section(u' ', 0, 0)];
        const Reply reply = left.isEmpty() ? Reply::Done : left.takeFirst();
        if (reply == Reply::Busy || reply == Reply::Failed)
            throw SpreadsheetError("The server is gone.", reply == Reply::Busy);
        return reply == Reply::Done ? SheetStep::Done : SheetStep::Again;
    }
    QStringList Cells() const { return calls.filter(QStringLiteral("cell ")); }
};

class ScriptedSheet : public Spreadsheet
{
  public:
    explicit ScriptedSheet(Script &script) : script_(&script) { ++script.held; }
    ~ScriptedSheet() override { --script_->held; }

    SheetStep Attach() override { return script_->Call(QStringLiteral("attach")); }
    SheetStep OpenOrAdd(const std::string &) override { return script_->Call(QStringLiteral("open")); }
    void SetVisible(bool on) override { script_->Call(QStringLiteral("visible %1").arg(on)); }
    void SetInteractive(bool on) override { script_->Call(QStringLiteral("interactive %1").arg(on)); }
    void SetCell(int row, int column, CellFormat, std::string_view text) override
    {
        script_->Call(QStringLiteral("cell %1,%2 %3")
                          .arg(row)
                          .arg(column)
                          .arg(QString::fromUtf8(text.data(), qsizetype(text.size()))));
    }
    void SetBorder(const CellRange &, Edge, BorderWeight) override {}
    void Centre(const CellRange &) override {}
    void Activate(int, int) override {}
    void AddChart(const SheetChart &) override { script_->Call(QStringLiteral("chart")); }

  private:
    Script *script_;
};

} // namespace px40
