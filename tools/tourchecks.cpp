#include "tools/tourchecks.h"

#include "document/frmdata.h"
#include "document/panelbar.h"
#include "tools/stage.h"

#include <QTableView>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

int Rows(const frmData *data)
{
    return data->Data()->GetDatacount();
}

void RequireText(const QString &what, const QString &is, const QString &wanted)
{
    Require(is == wanted, u"%1 is \"%2\" instead of \"%3\"."_s.arg(what, is, wanted));
}

void RequirePort(const Stage &stage, const QString &wanted)
{
    RequireText(u"The port panel"_s, stage.PortPanel(), wanted);
}

void RequireWholeSet(const Stage &stage, const frmData *data)
{
    const auto *const table = stage.Find<QTableView>(u"fgData"_s, data);
    Require(table->isVisible(), u"The table of the finished download is hidden."_s);
    const int rows = table->model()->rowCount();
    Require(rows == StoredReadings && Rows(data) == rows,
            u"The finished download has %1 rows."_s.arg(table->model()->rowCount()));
    for (const auto &[bar, key] :
         {std::pair(u"stBar1", u"Max"), std::pair(u"stBar2", u"Min"), std::pair(u"stBar3", u"Avg")}) {
        const QString name = QString::fromUtf16(key);
        Require(!stage.Find<PanelBar>(QString::fromUtf16(bar), data)->PanelText(name).isEmpty(),
                u"The panel %1 is empty after a download."_s.arg(name));
    }
    RequireText(u"The status bar after a download"_s, stage.Message(), u"50 stored readings received."_s);
}

void AwaitRows(const Stage &stage, int rows)
{
    const frmData *const data = stage.DataWindows().last();
    Await([data, rows] { return Rows(data) >= rows; }, u"The %1. reading did not arrive."_s.arg(rows));
}

void AwaitIdle(const Stage &stage)
{
    Await([&stage] { return stage.Idle(); }, u"The procedure under way did not end."_s);
}

} // namespace px40
