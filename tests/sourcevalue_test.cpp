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

struct Rig : SourceRig
{
    Rig() { dialog->show(); }
    ~Rig() { delete dialog; }
    Q_DISABLE_COPY_MOVE(Rig)

    void Type(const QString &text) const { QTest::keyClicks(dialog->focusWidget(), text); }

    /// Presses a button, or a key in what has the focus.
    void Press(const QString &name) const
    {
        if (auto *const button = dialog->findChild<QPushButton *>(name))
            button->click();
        else
            QTest::keyClick(dialog->focusWidget(), QKeySequence(name)[0].key());
    }

    QPointer<frmSrcValueSet> dialog{new frmSrcValueSet(source, instrument, nullptr)};
    QLineEdit *box = dialog->findChild<QLineEdit *>(u"tbSrcValue"_qs);
};

} // namespace

class SourceValueTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void WhatWasTypedIsSent();
    void PastedTextIsOneLineAndMended();
};

void SourceValueTest::WhatWasTypedIsSent()
{
    for (const QString &way : {u"Return"_qs, u"Enter"_qs, u"btSet"_qs, u"Esc"_qs, u"btCancel"_qs}) {
        const bool sends = way != u"Esc" && way != u"btCancel";
        for (const QString &text : {u"12.345"_qs, u""_qs, u" -ab\u00b5"_qs, QString(200, u'7')}) {
            Rig rig;
            QCOMPARE(rig.dialog->focusWidget(), rig.box);
            QCOMPARE(rig.box->selectedText(), u" 05.000"_qs);
            rig.instrument.Status.SourceValue = u" 06.000"_qs; // a status that comes in meanwhile
            text.isEmpty() ? rig.Press(u"Del"_qs) : rig.Type(text);
            rig.Press(way);
            QVERIFY(WaitUntil([&] { return !rig.dialog; }));
            QCOMPARE(rig.Sent(), sends ? u"SD"_qs + text : QString());
            QCOMPARE(rig.instrument.Status.SourceValue, sends ? text : u" 06.000"_qs);
        }
    }
}

void SourceValueTest::PastedTextIsOneLineAndMended()
{
    for (const QString &unknown : {u"\u2212"_qs, u"\U0001F600"_qs}) {
        const Rig rig;
        auto *const note = rig.dialog->findChild<QLabel *>(u"llRefused"_qs);
        rig.Type(u"ab"_qs);
        rig.Press(u"Left"_qs);
        QGuiApplication::clipboard()->setText(u"1\n%1\r\n2\u2028"_qs.arg(unknown));
        QTest::keySequence(rig.box, QKeySequence::Paste);
        rig.Type(u"3"_qs);
        QCOMPARE(rig.box->text(), u"a1"_qs + unknown + u"23b"_qs);
        rig.dialog->findChild<QWidget *>(u"btSet"_qs)->setFocus();
        rig.Press(u"btSet"_qs);
        QVERIFY(rig.dialog->isVisible() && note->text().contains(u'"' + unknown + u'"'));
        QVERIFY(note->height() >= note->heightForWidth(note->width()));
        QCOMPARE(rig.dialog->focusWidget(), rig.box);
        QCOMPARE(rig.box->selectedText(), unknown);
        rig.Type(u"4"_qs);
        QVERIFY(note->text().isEmpty());
        rig.Press(u"Return"_qs);
        QVERIFY(WaitUntil([&] { return !rig.dialog; }));
        QCOMPARE(rig.Sent(), u"SDa1423b"_qs);
    }
}

QTEST_MAIN(SourceValueTest)
#include "sourcevalue_test.moc"
