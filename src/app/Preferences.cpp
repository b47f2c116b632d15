#include "app/Preferences.h"

#include "app/Settings.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;
using Kind = Preferences::Kind;

constexpr QLatin1StringView trueText("true");
constexpr QLatin1StringView falseText("false");

/// In the order of Preferences::Id.
constexpr std::array<Preferences::Definition, Preferences::idCount> table{{
    {Preferences::EditorFont, "EditorFont"_L1, Kind::Text},
    {Preferences::EditorFontSize, "EditorFontSize"_L1, Kind::Number, 13, 6, 72},
    {Preferences::ShellFont, "ShellFont"_L1, Kind::Text},
    {Preferences::ShellFontSize, "ShellFontSize"_L1, Kind::Number, 0, 6, 72},
    {Preferences::IndentWidth, "IndentWidth"_L1, Kind::Number, 4, 1, 8},
    {Preferences::ShowBlanks, "ShowBlanks"_L1, Kind::Flag, 0},
    {Preferences::LineLengthMark, "LineLengthMark"_L1, Kind::Number, 0, 20, 400},
    {Preferences::Appearance, "Appearance"_L1, Kind::Choice, 0, 0, 0, "system light dark"_L1},
    {Preferences::Language, "Language"_L1, Kind::Text},
    {Preferences::RestoreAtStart, "RestoreAtStart"_L1, Kind::Choice, 0, 0, 0,
     "all folder nothing"_L1},
    {Preferences::KeepRecoveryFiles, "KeepRecoveryFiles"_L1, Kind::Flag, 1},
    {Preferences::AskBeforeClosing, "AskBeforeClosing"_L1, Kind::Flag, 1},
    {Preferences::Interpreter, "Interpreter"_L1, Kind::Text},
    {Preferences::KeepShellHistory, "KeepShellHistory"_L1, Kind::Flag, 1},
    {Preferences::ShowReplMessages, "ShowReplMessages"_L1, Kind::Flag, 1},
    {Preferences::ShellOutputLimit, "ShellOutputLimit"_L1, Kind::Number, 100, 1, 1000},
    {Preferences::ReconnectBoards, "ReconnectBoards"_L1, Kind::Flag, 1},
    {Preferences::StartServer, Settings::serverEnabled, Kind::Flag, 0},
    {Preferences::WriteWithoutAsking, Settings::autoApproveWrites, Kind::Flag, 0},
    {Preferences::ServerPort, Settings::serverPort, Kind::Number, 8787, 1,
     std::numeric_limits<quint16>::max()},
}};

constexpr bool isInOrder()
{
    for (size_t i = 0; i < table.size(); ++i) {
        if (static_cast<size_t>(table[i].id) != i)
            return false;
    }
    return true;
}
static_assert(isInOrder());

QLatin1StringView firstChoice(const Preferences::Definition &definition)
{
    return definition.choices.first(std::max<qsizetype>(0, definition.choices.indexOf(' '_L1)));
}

bool isAllowed(const Preferences::Definition &definition, int number)
{
    return number == definition.defaultNumber
        || (number >= definition.minimum && number <= definition.maximum);
}

bool isAllowed(const Preferences::Definition &definition, const QString &text)
{
    return definition.kind == Kind::Text || QString(definition.choices).split(u' ').contains(text);
}

std::optional<int> wholeNumber(const QString &text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

/// A path as a group and a key: "BaudRate/dev/ttyACM0".
QString baudRateKey(const QString &port)
{
    return port.startsWith(u'/') ? "BaudRate"_L1 + port : "BaudRate/"_L1 + port;
}

} // namespace

Preferences::Preferences(Settings &settings, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
{
}

const Preferences::Definition &Preferences::definition(Id id)
{
    return table[static_cast<size_t>(id)];
}

const QList<int> &Preferences::baudRates()
{
    static const QList<int> rates{9600, 19200, 38400, 57600, 115200, 230400, 460800, 921600};
    return rates;
}

bool Preferences::flag(Id id) const
{
    const Definition &wanted = definition(id);
    Q_ASSERT(wanted.kind == Kind::Flag);
    const QString stored = m_settings.text(wanted.key);
    const QLatin1StringView other = wanted.defaultNumber ? falseText : trueText;
    return stored.compare(other, Qt::CaseInsensitive) == 0 ? !wanted.defaultNumber
                                                           : wanted.defaultNumber;
}

int Preferences::number(Id id) const
{
    const Definition &wanted = definition(id);
    Q_ASSERT(wanted.kind == Kind::Number);
    const auto stored = wholeNumber(m_settings.text(wanted.key));
    return stored && isAllowed(wanted, *stored) ? *stored : wanted.defaultNumber;
}

QString Preferences::text(Id id) const
{
    const Definition &wanted = definition(id);
    Q_ASSERT(wanted.kind == Kind::Text || wanted.kind == Kind::Choice);
    const QString stored = m_settings.text(wanted.key);
    return isAllowed(wanted, stored) ? stored : QString(firstChoice(wanted));
}

void Preferences::setFlag(Id id, bool value)
{
    if (value != flag(id))
        store(id, value ? trueText : falseText);
}

void Preferences::setNumber(Id id, int value)
{
    if (value != number(id) && isAllowed(definition(id), value))
        store(id, QString::number(value));
}

void Preferences::setText(Id id, const QString &value)
{
    if (value != text(id) && isAllowed(definition(id), value))
        store(id, value);
}

bool Preferences::isDefault(Id id) const
{
    const Definition &wanted = definition(id);
    switch (wanted.kind) {
    case Kind::Flag:
        return flag(id) == (wanted.defaultNumber != 0);
    case Kind::Number:
        return number(id) == wanted.defaultNumber;
    case Kind::Text:
    case Kind::Choice:
        break;
    }
    return text(id) == firstChoice(wanted);
}

void Preferences::reset(Id id)
{
    const bool wasDefault = isDefault(id);
    m_settings.remove(definition(id).key);
    if (!wasDefault)
        emit changed(id);
}

int Preferences::baudRate(const QString &port) const
{
    const auto stored = wholeNumber(m_settings.text(baudRateKey(port)));
    return stored && baudRates().contains(*stored) ? *stored : defaultBaudRate;
}

void Preferences::setBaudRate(const QString &port, int rate)
{
    if (port.isEmpty() || !baudRates().contains(rate))
        return;
    if (rate == defaultBaudRate)
        m_settings.remove(baudRateKey(port));
    else
        m_settings.setText(baudRateKey(port), QString::number(rate));
}

void Preferences::store(Id id, const QString &value)
{
    m_settings.setText(definition(id).key, value);
    emit changed(id);
}

} // namespace Korvane
