#include "base/DeviceError.h"

#include <QTest>

using namespace Korvane;

class tst_DeviceError final : public QObject
{
    Q_OBJECT

private slots:
    void showsTheExceptionLineOfATraceback_data()
    {
        QTest::addColumn<QString>("traceback");
        QTest::addColumn<QString>("message");
        QTest::newRow("three lines")
            << QStringLiteral("Traceback (most recent call last):\n  File \"<stdin>\"\n"
                              "OSError: [Errno 2] ENOENT\n")
            << QStringLiteral("OSError: [Errno 2] ENOENT");
        QTest::newRow("blanks around") << QStringLiteral("a\n \tKeyboardInterrupt: \n\n")
                                       << QStringLiteral("KeyboardInterrupt:");
        QTest::newRow("only line ends") << QStringLiteral("\n\n") << QString();
        QTest::newRow("white space alone") << QStringLiteral(" \t") << QString();
    }

    void showsTheExceptionLineOfATraceback()
    {
        QFETCH(QString, traceback);
        QFETCH(QString, message);
        const Error error = DeviceError::remote(traceback);
        QCOMPARE(error.message, message);
        QCOMPARE(error.detail, traceback);
    }
};

QTEST_GUILESS_MAIN(tst_DeviceError)
#include "tst_DeviceError.moc"
