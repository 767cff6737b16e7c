#pragma once

#include "document/dataset.h"
#include "link/linkstate.h"
#include "platform/jobs.h"
#include "testing/prompts.h"

#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <memory>

namespace px40 {

/// A setup dialog on a new real-time data set.
template <typename Dialog>
struct DialogRig
{
    DialogRig() { dataSet->OpenNew(KindRealtime); }
    DialogRig(const DialogRig &) = delete;
    DialogRig &operator=(const DialogRig &) = delete;
    ~DialogRig() { delete dialog; }

    void Open()
    {
        dialog = new Dialog(dataSet, prompts, jobs, nullptr);
        dialog->open();
    }

    template <typename T = QLineEdit>
    T *Find(const char *name) const
    {
        return dialog->template findChild<T *>(QString::fromLatin1(name));
    }

    void Type(const char *box, const char *text) const
    {
        Find(box)->selectAll();
        QTest::keyClicks(Find(box), QString::fromLatin1(text));
    }

    void Click(const char *button) const { Find<QPushButton>(button)->click(); }

    void AddReading() const { dataSet->AddData(QString(), u"1"_qs, QString(), QString(), QString()); }

    LinkState state;
    DocumentShared shared;
    ScriptedPrompts prompts;
    Jobs jobs;
    std::shared_ptr<DataSet> dataSet = std::make_shared<DataSet>(state, shared);
    QPointer<Dialog> dialog;
};

} // namespace px40
