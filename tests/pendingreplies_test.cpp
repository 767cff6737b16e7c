#include "link/pendingreplies.h"
#include "testing/rows.h"

#include <QMap>

using namespace px40;

namespace {

/// The command of that text.
LinkCommand Named(const QString &text)
{
    for (const LinkCommand &command : AskCondition()) {
        if (command.text == text)
            return command;
    }
    if (text.startsWith(u"OM"))
        return AskReading(text.mid(2).toInt());
    return text.startsWith(u"RS") ? AskRecord(1) : LinkCommand{text};
}

/// Plays a script of what is written and what comes, and gives the verdicts on what comes, a letter each:
/// A(nswer), G (ask again), D(ropped). A word of the script is >COMMAND (an exchange begins), + (written
/// again), . (its end), f (what was asked is forgotten) or the reply: C(ondition), R(eading), S (record),
/// K (acknowledgement), E (refusal), N (45 characters), X (noise).
QString Play(const QString &script)
{
    const QMap<QString, QString> replies = {{u"C"_qs, QString(52, u'1')},
                                            {u"R"_qs, QString(29, u'1')},
                                            {u"S"_qs, u"RS5"_qs},
                                            {u"K"_qs, u"OK"_qs},
                                            {u"E"_qs, u"ERR"_qs},
                                            {u"N"_qs, QString(45, u'1')},
                                            {u"X"_qs, QString(29, QChar(0x9d))}};
    PendingReplies pending;
    QString verdicts;
    const QStringList words = script.split(u' ');
    for (const QString &word : words) {
        if (word.startsWith(u'>'))
            pending.Begin(Named(word.mid(1)));
        if (word.startsWith(u'>') || word == u"+")
            pending.Written(0);
        else if (word == u".")
            pending.End();
        else if (word == u"f")
            pending.ForgetBefore(1);
        else
            verdicts += QStringLiteral("DGA").at(static_cast<int>(pending.Receive(replies.value(word))));
    }
    return verdicts;
}

using Played = std::tuple<const char *, const char *>; // a script, and the verdicts

} // namespace

class PendingRepliesTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void RepliesFindTheirCommands_data()
    {
        AddRows<Played>({
            {"healthy", {">AN1 K . >H1 K . >OC C . >OM1 R . >RS,01 S . >UP1 K", "AAAAAA"}},
            {"lost reply", {">OC + C . >AN1 K . >H1 K . >OC C", "AAAA"}},
            {"lost preparation", {">AN1 + K . >H1 K . >OC C", "AAA"}},
            {"late preparation", {">AN1 + K . >H1 K . >OC K C", "AADA"}},
            {"late question behind a step", {">OC + C . >UP1 C K", "ADA"}},
            {"same question again", {">OM1 + R . >OM2 R + R . >OM3 R + R", "AGAGA"}},
            {"refusal is of the oldest", {">OC . >OM1 E + R", "GA"}},
            {"so is noise of any length", {">OC . >OM1 X + R", "GA"}},
            {"acknowledgement answers no question", {">MO1 . >OC K C", "DA"}},
            {"preparations take what comes", {">OC . >AN1 C . >H1 N", "AA"}},
            {"of nothing, behind a preparation", {">OM1 . >AN1 . C >OM2 R + R", "DGA"}},
            {"a reply strikes all before it", {">UP1 . >OM1 . >OC C . >UP2 K", "AA"}},
            {"a reply strikes several before it", {">UP1 . >OC . >OM1 C R", "DA"}},
            {"any form where nothing else is to come", {">OC + N . >UP1 C", "AD"}},
            {"another form behind something else", {">UP1 . >OC N + C", "GA"}},
            {"steps are not asked again", {">OC . >DW1 E K", "DA"}},
            {"a step behind one given up", {">UP1 . >UP2 K K . >OC C", "ADA"}},
            {"of a command that is forgotten", {">UP1 . f >OM1 . >OC K R C", "DDA"}},
            {"asked long ago", {">OC . >OC . f >OC C", "A"}},
            {"while nobody waits", {"K >OC . C >OC C . C", "DDAD"}},
        });
    }

    void RepliesFindTheirCommands()
    {
        const auto [script, verdicts] = ThisRow<Played>();
        QCOMPARE(Play(QString::fromLatin1(script)), QString::fromLatin1(verdicts));
    }
};

QTEST_GUILESS_MAIN(PendingRepliesTest)
#include "pendingreplies_test.moc"
