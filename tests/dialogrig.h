#pragma once

#include "document/dataset.h"
#include "platform/jobs.h"
#include "testing/prompts.h"
#include "testing/wait.h"

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

    /// Clicks at a button that complains, and at one while the message is up: there is no second message over
    /// it. Then the dialog has the focus again.
    void ClickTwice(const char *button, const char *meanwhile)
    {
        prompts.onWarn = [this, meanwhile] {
            if (prompts.warnings.size() == 1)
                Click(meanwhile);
        };
        Click(button);
        Await([this] { return jobs.Running() == 0; }, u"The message does not go."_qs);
        Require(dialog && dialog->focusWidget(), u"The dialog does not stay."_qs);
    }

    /// Types into the field that has the focus, and presses Return.
    void Enter(const char *text) const
    {
        QTest::keyClicks(dialog->focusWidget(), QString::fromLatin1(text));
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Return);
    }

    void AddReading() const { dataSet->AddData(QString(), u"1"_qs, QString(), QString(), QString()); }

    DocumentShared shared;
    ScriptedPrompts prompts;
    Jobs jobs;
    std::shared_ptr<DataSet> dataSet = std::make_shared<DataSet>(shared);
    QPointer<Dialog> dialog;
};

} // namespace px40
