#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include "disk.h"
#include "fakecommands.h"
#include "probix.h"

namespace
{

QStringList rows(Probix &probix)
{
    QQmlListProperty<Disk> list = probix.disks();
    QStringList texts;
    for (int i = 0; i < Probix::diskCount(&list); ++i) {
        const Disk *disk = Probix::diskAt(&list, i);
        texts << QStringList{disk->partition(), disk->capability(), disk->usecapability(), disk->ratio(),
                             disk->availablecapability()}
                     .join('|');
    }
    return texts;
}

QList<QPointer<Disk>> rowObjects(Probix &probix)
{
    QQmlListProperty<Disk> list = probix.disks();
    QList<QPointer<Disk>> objects;
    for (int i = 0; i < Probix::diskCount(&list); ++i)
        objects << Probix::diskAt(&list, i);
    return objects;
}

QString run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(30000);
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}

const QByteArray kDfHeader = "Filesystem     1K-blocks    Used Available Use% Mounted on\n";

} // namespace

class TestDisks : public QObject
{
    Q_OBJECT

    QTemporaryDir home;

private slots:
    void initTestCase()
    {
        // The server check reads the client's files under HOME; keep it away from real ones.
        QVERIFY(home.isValid());
        qputenv("HOME", QFile::encodeName(home.path()));
    }

    void copiedRow()
    {
        QObject owner;
        Disk row(&owner);
        QCOMPARE(QStringList({row.partition(), row.capability(), row.usecapability(), row.ratio()}),
                 QStringList({"", "", "", ""}));
        row.setPartition("/dev/sda2");
        row.setCapability("58.6");
        row.setUsecapability("12.3");
        row.setRatio("0.2");
        const Disk copy(row);
        QCOMPARE(copy.parent(), nullptr);
        QCOMPARE(QStringList({copy.partition(), copy.capability(), copy.usecapability(), copy.ratio()}),
                 QStringList({"/dev/sda2", "58.6", "12.3", "0.2"}));
        QCOMPARE(copy.availablecapability(), QStringLiteral("46.3"));
        QCOMPARE(copy.availablecapability(), row.availablecapability());
    }

    void updateDisks_data()
    {
        QTest::addColumn<QByteArray>("lsblk");
        QTest::addColumn<QByteArray>("df");
        QTest::addColumn<QStringList>("expected"); // partition|capability|used|ratio|available

        QTest::newRow("rounded once, available from the rounded texts")
            << QByteArray("sda2 62914560000 / 0\n")
            << kDfHeader + "/dev/sda2 61440000 12945208 48494792 21% /\n"
            << QStringList{"/dev/sda2|58.6|12.3|0.2|46.3"};
        QTest::newRow("mounted twice, 0.96 full")
            << QByteArray("sdb1 1073741824 /srv 0\n")
            << kDfHeader +
                   "/dev/sdb1 1048576 1006633 41943 96% /srv\n/dev/sdb1 1048576 1006633 41943 96% /var/srv\n"
            << QStringList{"/dev/sdb1|1.0|1.0|1.0|0.0", "/dev/sdb1|1.0|1.0|1.0|0.0"};
        QTest::newRow("nothing from lsblk")
            << QByteArray() << kDfHeader + "/dev/sda2 61440000 12945208 48494792 21% /\n"
            << QStringList();
    }
    void updateDisks()
    {
        QFETCH(QByteArray, lsblk);
        QFETCH(QByteArray, df);
        QFETCH(QStringList, expected);
        FakeCommands fakes;
        QVERIFY(fakes.isValid());
        if (!lsblk.isEmpty())
            fakes.put("lsblk.out", lsblk);
        fakes.put("df.out", df);
        Probix probix;
        QCOMPARE(rows(probix), expected);
    }

    void refreshReplacesRows()
    {
        FakeCommands fakes;
        QVERIFY(fakes.isValid());
        fakes.put("lsblk.out", "sda1 536870912 /boot 0\nsda2 62914560000 / 0\n");
        fakes.put("df.out", kDfHeader + "/dev/sda2 61440000 12945208 48494792 21% /\n"
                                        "/dev/sda1 524288 104858 419430 20% /boot\n");
        Probix probix;
        const QStringList before = rows(probix);
        const QList<QPointer<Disk>> oldRows = rowObjects(probix);
        QCOMPARE(before, (QStringList{"/dev/sda2|58.6|12.3|0.2|46.3", "/dev/sda1|0.5|0.1|0.2|0.4"}));

        probix.updateDisks();
        QCOMPARE(rows(probix), before);
        for (const QPointer<Disk> &old : oldRows)
            QVERIFY(old.isNull());

        probix.clearDisks();
        QVERIFY(rows(probix).isEmpty());
        Disk local;
        local.setPartition("/dev/sdc1");
        probix.appendDisk(local);
        const QList<QPointer<Disk>> appended = rowObjects(probix);
        QCOMPARE(appended.size(), 1);
        QVERIFY(appended.first() != &local);
        QCOMPARE(appended.first()->partition(), local.partition());
    }

    // The rows of this machine are what lsblk and df agree on, asked here in another form.
    void thisMachine()
    {
        QMap<QString, QString> fixedMounted; // "/dev/" + name -> size in GB, one decimal
        const QRegularExpression pairs(
            QStringLiteral(R"re(NAME="([^"]*)" SIZE="(\d+)" MOUNTPOINT="([^"]*)" RM="(\d)")re"));
        const QString lsblk = run("lsblk", {"-P", "-b", "-o", "NAME,SIZE,MOUNTPOINT,RM"});
        for (const QString &line : lsblk.split('\n', Qt::SkipEmptyParts)) {
            const QRegularExpressionMatch match = pairs.match(line);
            if (match.hasMatch() && !match.captured(3).isEmpty() && match.captured(4) == "0")
                fixedMounted.insert("/dev/" + match.captured(1),
                                    QString::number(match.captured(2).toDouble() / (1 << 30), 'f', 1));
        }
        QStringList expected;
        const QStringList sources = run("df", {"-k", "--output=source"}).split('\n', Qt::SkipEmptyParts);
        for (const QString &source : sources.mid(1)) {
            if (fixedMounted.contains(source.trimmed()))
                expected << source.trimmed() + '|' + fixedMounted.value(source.trimmed());
        }

        Probix probix;
        QStringList shown;
        for (const QString &row : rows(probix))
            shown << row.section('|', 0, 1);
        QCOMPARE(shown, expected);
    }
};

QTEST_GUILESS_MAIN(TestDisks)
#include "tst_disks.moc"
