// The model's texts as the window shows them.
#include <QtTest>

#include "probix.h"

class TestProbix : public QObject
{
    Q_OBJECT

private slots:
    void texts()
    {
        // Two significant digits, not decimals, and the exponent form from 99.5 on. 2.25e9 is
        // not a float: it becomes 2249999872, so the single-precision quotient rounds down
        // where the exact 2.25 would not.
        QCOMPARE(QStringList({Probix::memoryText(15.6), Probix::memoryText(128.0),
                              Probix::frequencyText(2260000000ULL), Probix::frequencyText(2250000000ULL)}),
                 QStringList({"16", "1.3e+02", "2.3", "2.2"}));
    }
};

QTEST_GUILESS_MAIN(TestProbix)
#include "tst_probix.moc"
