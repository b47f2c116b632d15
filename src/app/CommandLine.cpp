#include "app/CommandLine.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace Korvane {

namespace {

constexpr const char usage[] =
    "Usage: korvane [--port PORT] [FILE[:LINE] ...]\n"
    "\n"
    "Edits, runs and debugs Python on boards that run MicroPython. Files are opened in the window\n"
    "that is open already, if there is one.\n"
    "\n"
    "  --port PORT    connect to the board on this serial port, such as /dev/ttyACM0\n"
    "  -h, --help     print this text\n"
    "  -v, --version  print the version\n"
    "\n"
    "KORVANE_EXTRA_PORTS names further ports, separated by colons.\n";

FileArgument fileArgument(const QString &argument)
{
    static const QRegularExpression withLine(QStringLiteral("\\A(.+):([1-9][0-9]{0,8})\\z"),
                                             QRegularExpression::DotMatchesEverythingOption);
    const auto absolute = [](const QString &path) { return QFileInfo(path).absoluteFilePath(); };
    if (!QFileInfo::exists(argument)) {
        const QRegularExpressionMatch match = withLine.match(argument);
        if (match.hasMatch())
            return {absolute(match.captured(1)), match.captured(2).toInt()};
    }
    return {absolute(argument), 0};
}

CommandLine refusal(const QString &problem)
{
    CommandLine refused;
    refused.text = QStringLiteral("korvane: %1; korvane --help lists the options\n").arg(problem);
    refused.exitStatus = 1;
    return refused;
}

} // namespace

// Without QCommandLineParser, which needs a QCoreApplication to print its help: --help must work
// without a display.
CommandLine CommandLine::parse(const QStringList &arguments)
{
    CommandLine parsed;
    bool areOptionsOver = false;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        const QString portPrefix = QStringLiteral("--port=");
        if (areOptionsOver || argument == u'-' || !argument.startsWith(u'-')) {
            if (!argument.isEmpty())
                parsed.files.append(fileArgument(argument));
        } else if (argument == QStringLiteral("--")) {
            areOptionsOver = true;
        } else if (argument == QStringLiteral("-h") || argument == QStringLiteral("--help")) {
            parsed.text = QString::fromUtf8(usage);
        } else if (argument == QStringLiteral("-v") || argument == QStringLiteral("--version")) {
            parsed.text = QStringLiteral("Korvane " KORVANE_VERSION "\n");
        } else if (argument.startsWith(portPrefix) && argument.size() > portPrefix.size()) {
            parsed.port = argument.mid(portPrefix.size());
        } else if (argument == QStringLiteral("--port") && i + 1 < arguments.size()) {
            parsed.port = arguments[++i];
        } else if (argument == QStringLiteral("--port") || argument == portPrefix) {
            return refusal(QStringLiteral("--port needs the path of a port"));
        } else {
            return refusal(QStringLiteral("unknown option %1").arg(argument));
        }
    }
    return parsed;
}

QByteArray CommandLine::toMessage() const
{
    QByteArray message = port.toUtf8() + '\0';
    for (const FileArgument &file : files)
        message += file.path.toUtf8() + '\0' + QByteArray::number(file.line) + '\0';
    return message;
}

std::optional<CommandLine> CommandLine::fromMessage(const QByteArray &message)
{
    if (!message.endsWith('\0'))
        return std::nullopt;
    const QList<QByteArray> fields = message.chopped(1).split('\0');
    if (fields.size() % 2 == 0)
        return std::nullopt;
    CommandLine parsed;
    parsed.port = QString::fromUtf8(fields[0]);
    for (qsizetype i = 1; i < fields.size(); i += 2) {
        bool isNumber = false;
        const int line = fields[i + 1].toInt(&isNumber);
        if (!isNumber || line < 0 || fields[i].isEmpty())
            return std::nullopt;
        parsed.files.append({QString::fromUtf8(fields[i]), line});
    }
    return parsed;
}

} // namespace Korvane
