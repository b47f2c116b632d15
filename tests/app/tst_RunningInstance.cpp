#include "app/RunningInstance.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtConcurrent>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// Parses command lines, and hands them to the running program.
class tst_RunningInstance final : public QObject
{
    Q_OBJECT

private slots:
    void parses_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("files"); // "path line"
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("text"); // its beginning
        const auto row = [](const char *name, const QString &arguments, const QStringList &files,
                            const QString &port = {}, const QString &text = {}) {
            QTest::newRow(name) << arguments.split(u'|', Qt::SkipEmptyParts) << files << port
                                << text;
        };
        row("nothing", u""_s, {});
        row("files and lines", u"/a.py|/b c.py:12|/a:b.py"_s,
            {u"/a.py 0"_s, u"/b c.py 12"_s, u"/a:b.py 0"_s});
        row("not a line number", u"/a.py:0|/a.py:|/a.py:1x"_s,
            {u"/a.py:0 0"_s, u"/a.py: 0"_s, u"/a.py:1x 0"_s});
        row("an existing file with a colon", u"FILE:7|FILE:7:8"_s, {u"FILE:7 0"_s, u"FILE:7 8"_s});
        row("a port", u"--port|/dev/x|--|--port"_s, {u"CWD/--port 0"_s}, u"/dev/x"_s);
        row("a port with =", u"--port=/dev/x"_s, {}, u"/dev/x"_s);
        row("no port", u"--port"_s, {}, {}, u"korvane: --port needs"_s);
        row("help", u"/a.py|--help"_s, {u"/a.py 0"_s}, {}, u"Usage: korvane"_s);
        row("version", u"-v"_s, {}, {}, u"Korvane 1."_s);
        row("unknown", u"--prot"_s, {}, {}, u"korvane: unknown option --prot;"_s);
    }

    void parses()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, files);
        QFETCH(QString, text);
        QTemporaryDir folder;
        QFile existing(folder.filePath(u"x:7"_s));
        QVERIFY(existing.open(QIODevice::WriteOnly));
        arguments.replaceInStrings(u"FILE:7"_s, existing.fileName());
        files.replaceInStrings(u"FILE:7"_s, existing.fileName());
        files.replaceInStrings(u"CWD"_s, QDir::currentPath());
        const CommandLine parsed = CommandLine::parse(QStringList{u"korvane"_s} + arguments);
        QStringList found;
        for (const FileArgument &file : parsed.files)
            found << file.path + u' ' + QString::number(file.line);
        if (parsed.exitStatus == 0)
            QCOMPARE(found, files);
        QTEST(parsed.port, "port");
        QVERIFY2(parsed.text.startsWith(text) && parsed.text.isEmpty() == text.isEmpty(),
                 qPrintable(parsed.text));
    }

    void handsACommandLineToTheFirstProgram()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"socket"_s);
        CommandLine sent;
        sent.port = u"/dev/x"_s;
        for (int i = 1; i < 2000; ++i)
            sent.files.append({u"/tmp/ä b\n%1.py"_s.arg(i), i});
        QVERIFY(!RunningInstance::handOver(sent, path)); // no program listens

        auto first = std::make_unique<RunningInstance>(path);
        const RunningInstance second(path); // does not replace the first one's socket
        QSignalSpy received(first.get(), &RunningInstance::commandLineReceived);
        const auto send = [&](const CommandLine &commandLine) {
            return QtConcurrent::run(&RunningInstance::handOver, commandLine, path);
        };
        for (const CommandLine &commandLine : {sent, CommandLine{}}) {
            QFuture<bool> accepted = send(commandLine);
            QTRY_VERIFY(accepted.isFinished());
            QVERIFY(accepted.result());
            const auto arrived = received.takeFirst()[0].value<CommandLine>();
            QCOMPARE(arrived.files, commandLine.files);
            QCOMPARE(arrived.port, commandLine.port);
        }
        sent.files.append({QString(RunningInstance::maxMessageBytes, u'x'), 0});
        QVERIFY(!RunningInstance::handOver(sent, path));

        first.reset();
        QVERIFY(!QFile::exists(path));
        QFile killed(path); // left by a killed program
        QVERIFY(killed.open(QIODevice::WriteOnly));
        const RunningInstance next(path);
        QFuture<bool> accepted = send({});
        QTRY_VERIFY(accepted.isFinished());
        QVERIFY(accepted.result());
    }
};

QTEST_GUILESS_MAIN(tst_RunningInstance)
#include "tst_RunningInstance.moc"
