#include "source/frmsrcvalueset.h"
#include "tests/sourcerig.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>

using namespace px40;

namespace {

/// The dialog on the simulated instrument; the status has told " 05.000".
struct ValueRig : SourceRig
{
    ValueRig()
    {
        instrument.Status.SourceValue = u" 05.000"_qs;
        dialog = new frmSrcValueSet(source, instrument, nullptr);
        dialog->show();
        box = dialog->findChild<QLineEdit *>(u"tbSrcValue"_qs);
    }
    ~ValueRig() { delete dialog; }
    Q_DISABLE_COPY_MOVE(ValueRig)

    void Click(const QString &button) const { dialog->findChild<QPushButton *>(button)->click(); }
    void Key(Qt::Key key) const { QTest::keyClick(dialog->focusWidget(), key); }
    void Type(const QString &text) const { QTest::keyClicks(dialog->focusWidget(), text); }

    /// What has been sent when the dialog has gone.
    QString SentAndClosed() const
    {
        const bool closed = WaitUntil([this] { return !dialog; }, 5000);
        return closed ? Sent() : u"still open"_qs;
    }

    QPointer<frmSrcValueSet> dialog;
    QLineEdit *box = nullptr;
};

} // namespace

class SourceValueTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void WhatWasTypedIsSent();
    void PastedTextIsOneLineAndMended();
    void CancelChangesNothing();
};

void SourceValueTest::WhatWasTypedIsSent()
{
    for (const QString &text : {u"12.345"_qs, u""_qs, u" -ab\u00b5"_qs, QString(200, u'7')}) {
        for (const Qt::Key submit : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_unknown}) {
            ValueRig rig;
            QCOMPARE(rig.dialog->focusWidget(), rig.box);
            QCOMPARE(rig.box->selectedText(), u" 05.000"_qs);
            rig.instrument.Status.SourceValue = u" 06.000"_qs; // a status that comes in meanwhile
            text.isEmpty() ? rig.Key(Qt::Key_Delete) : rig.Type(text);
            submit == Qt::Key_unknown ? rig.Click(u"btSet"_qs) : rig.Key(submit);
            QCOMPARE(rig.SentAndClosed(), u"SD"_qs + text);
            QCOMPARE(rig.instrument.Status.SourceValue, text);
        }
    }
}

void SourceValueTest::PastedTextIsOneLineAndMended()
{
    for (const QString &unknown : {u"\u2212"_qs, u"\U0001F600"_qs}) {
        ValueRig rig;
        auto *const note = rig.dialog->findChild<QLabel *>(u"llRefused"_qs);
        rig.Type(u"ab"_qs);
        rig.Key(Qt::Key_Left);
        QGuiApplication::clipboard()->setText(u"1\n%1\r\n2\u2028"_qs.arg(unknown));
        QTest::keySequence(rig.box, QKeySequence::Paste);
        rig.Type(u"3"_qs);
        QCOMPARE(rig.box->text(), u"a1"_qs + unknown + u"23b"_qs);
        rig.dialog->findChild<QWidget *>(u"btSet"_qs)->setFocus();
        rig.Click(u"btSet"_qs);
        QVERIFY(rig.dialog->isVisible() && rig.source.PendingSourceCommand().isEmpty());
        QVERIFY(note->text().contains(u'"' + unknown + u'"'));
        QVERIFY(note->height() >= note->heightForWidth(note->width()));
        QCOMPARE(rig.dialog->focusWidget(), rig.box);
        QCOMPARE(rig.box->selectedText(), unknown);
        rig.Type(u"4"_qs);
        QVERIFY(note->text().isEmpty());
        rig.Key(Qt::Key_Return);
        QCOMPARE(rig.SentAndClosed(), u"SDa1423b"_qs);
    }
}

void SourceValueTest::CancelChangesNothing()
{
    for (const bool byKey : {false, true}) {
        ValueRig rig;
        rig.Type(u"7"_qs);
        byKey ? rig.Key(Qt::Key_Escape) : rig.Click(u"btCancel"_qs);
        QVERIFY(rig.source.PendingSourceCommand().isEmpty());
        QCOMPARE(rig.SentAndClosed(), QString());
        QCOMPARE(rig.instrument.Status.SourceValue, u" 05.000"_qs);
    }
}

QTEST_MAIN(SourceValueTest)
#include "sourcevalue_test.moc"
