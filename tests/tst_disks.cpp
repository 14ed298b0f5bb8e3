#include <QPointer>
#include <QtTest>

#include "fakecommands.h"
#include "probix.h"

static QStringList rowTexts(Probix &probix, QList<QPointer<Disk>> &rowObjects)
{
    QQmlListProperty<Disk> list = probix.disks();
    QStringList texts;
    for (int i = 0; i < Probix::diskCount(&list); ++i) {
        Disk *d = Probix::diskAt(&list, i);
        rowObjects << d;
        texts << QStringLiteral("%1|%2|%3|%4|%5")
                     .arg(d->partition(), d->capability(), d->usecapability(), d->ratio(),
                          d->availablecapability());
    }
    return texts;
}

class TestDisks : public QObject
{
    Q_OBJECT

    FakeCommands fakes;

private slots:
    void initTestCase()
    {
        // The server check reads the client's files under HOME; keep it in the fakes' temporary folder.
        QVERIFY(fakes.isValid());
        qputenv("HOME", qgetenv("PROBIX_FAKE_DIR"));
    }

    void rowsOfTheWindow()
    {
        // Rounded once from "58.5938" and "12.3456"; available from the rounded texts.
        fakes.put("lsblk.out", "sda1 536870912 /boot 0\nsda2 62914560000 / 0\n");
        fakes.put("df.out", "Filesystem 1K-blocks Used Available Use% Mounted on\n/dev/sda2 61440000 "
                            "12945217 48494783 21% /\n/dev/sda1 524288 104858 419430 20% /boot\n");
        Probix probix;
        QList<QPointer<Disk>> first, second, third;
        const QStringList texts = rowTexts(probix, first);
        QCOMPARE(texts, (QStringList{"/dev/sda2|58.6|12.3|0.2|46.3", "/dev/sda1|0.5|0.1|0.2|0.4"}));
        probix.updateDisks();
        QCOMPARE(rowTexts(probix, second), texts);
        QVERIFY(first.at(0).isNull() && first.at(1).isNull()); // new row objects
        Disk row(*second.at(0));
        row.setParent(&probix);
        fakes.put("lsblk.out", ""); // no partition, so no record
        probix.updateDisks();
        QVERIFY(rowTexts(probix, third).isEmpty());
        probix.appendDisk(row); // copied in without its parent
        QCOMPARE(rowTexts(probix, third), QStringList(texts.first()));
        QCOMPARE(third.at(0)->parent(), nullptr);
    }
};

QTEST_GUILESS_MAIN(TestDisks)
#include "tst_disks.moc"
