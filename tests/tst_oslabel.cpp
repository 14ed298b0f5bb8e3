// The System row's text: the Corvex product name, or the distribution with four numbers.
#include <QtTest>

#include "oslabel.h"
#include "support.h"

using testsupport::writeFile;

class TestOsLabel : public QObject
{
    Q_OBJECT
private slots:
    void label_data()
    {
        QTest::addColumn<bool>("corvex");
        QTest::addColumn<QString>("product");
        QTest::addColumn<QString>("label");
        QTest::newRow("fennlake_alpha") << true << "fennlake_alpha" << QString("Fennlake_Beta");
        QTest::newRow("another product") << true << "Fennlake_Beta" << QString("Corvex");
        QTest::newRow("no marker") << false << "fennlake_alpha" << QString("Debian 11.2.3 build 4");
    }
    void label()
    {
        QFETCH(bool, corvex);
        QFETCH(QString, product);
        QTemporaryDir dir;
        if (corvex)
            writeFile(dir.filePath("root/etc/corvex-version"), QByteArray()); // an empty marker counts
        writeFile(dir.filePath("root/etc/os-release"), "PRETTY_NAME=\"Debian\"\nVERSION_ID=\"11.2.3.4\"\n");
        writeFile(dir.filePath("opt/Tolvane/config.ini"), "[commoninfo]\nproductname=" + product.toUtf8());
        QTest::ignoreMessage(QtDebugMsg, corvex ? qPrintable("product name is  \"" + product + "\"")
                                                : "corvex-version DO NOT exists");
        QTEST(operatingSystemLabel(dir.filePath("root"), dir.filePath("opt/Tessera/bin")), "label");
    }
};

QTEST_GUILESS_MAIN(TestOsLabel)
#include "tst_oslabel.moc"
