// The disk rows the window lists, from the fake lsblk and df, and the list the window reads them through.
#include <QSignalSpy>
#include <QtTest>

#include "fakecommands.h"
#include "probix.h"

static QStringList rowTexts(Probix &probix)
{
    QQmlListProperty<Disk> list = probix.disks();
    QStringList texts;
    for (int i = 0; i < Probix::diskCount(&list); ++i) {
        const Disk *d = Probix::diskAt(&list, i);
        texts << QStringList{d->partition(), d->capability(), d->usecapability(), d->ratio(),
                             d->availablecapability()}
                     .join('|');
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
        const QStringList texts = rowTexts(probix);
        QCOMPARE(texts, (QStringList{"/dev/sda2|58.6|12.3|0.2|46.3", "/dev/sda1|0.5|0.1|0.2|0.4"}));
        QQmlListProperty<Disk> list = probix.disks();
        Disk row(*Probix::diskAt(&list, 0));
        row.setParent(&probix);

        // A refresh replaces the rows and tells the window once.
        QSignalSpy changed(&probix, &Probix::infoChanged);
        fakes.put("lsblk.out", ""); // no partition, so no record
        probix.update();
        QCOMPARE(changed.count(), 1);
        QVERIFY(rowTexts(probix).isEmpty());

        probix.appendDisk(row); // copied in without its parent
        QCOMPARE(rowTexts(probix), QStringList(texts.first()));
        QCOMPARE(Probix::diskAt(&list, 0)->parent(), nullptr);
        QVERIFY(!Probix::diskAt(&list, 1) && !list.append && !list.clear); // bounded and read-only
    }
};

QTEST_GUILESS_MAIN(TestDisks)
#include "tst_disks.moc"
