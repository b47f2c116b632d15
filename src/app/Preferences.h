#pragma once

#include <QLatin1StringView>
#include <QList>
#include <QObject>
#include <QString>

#include <utility>

namespace Korvane {

class Settings;

/// Typed access to the stored settings that the user can choose, with a default and a range for
/// each.
///
/// Values are not cached: each read asks the settings, so that changes by another program take
/// effect, and a stored value that does not fit its definition is read as the default. Other keys
/// of the settings are left alone. Reading checks the time of the file, so code that runs for every
/// key press or every line of output stores the value that `follow` has passed to it. Main thread
/// only.
class Preferences final : public QObject
{
    Q_OBJECT

public:
    enum Id {
        EditorFont,     // a family; empty for the desktop's fixed one
        EditorFontSize, // pixels
        ShellFont,      // a family; empty for the desktop's fixed one
        ShellFontSize,  // pixels; 0 for the size of the desktop's fixed font, at least 13
        IndentWidth,    // spaces
        ShowBlanks,
        LineLengthMark, // columns; 0 for none
        Appearance,     // "system", "light" or "dark"
        Language,       // a QLocale::name(); empty for the system's
        RestoreAtStart, // "all" for documents and folder, "folder" or "nothing"
        KeepRecoveryFiles,
        AskBeforeClosing, // a tab with edits that are not saved
        Interpreter,      // the path of a Python or of a virtual environment; empty to look for one
        KeepShellHistory,
        ShowReplMessages,
        ShellOutputLimit, // megabytes
        ReconnectBoards,
        StartServer,
        WriteWithoutAsking,
        ServerPort,
    };
    static constexpr int idCount = ServerPort + 1;

    enum class Kind { Flag, Number, Text, Choice };

    /// One line of the table of preferences.
    struct Definition
    {
        Id id;
        QLatin1StringView key;
        Kind kind;
        /// Of a number; 0 or 1 of a flag. Need not be within the range.
        int defaultNumber = 0;
        int minimum = 0;
        int maximum = 0;
        /// Separated by spaces, the default first.
        QLatin1StringView choices = {};
    };

    static constexpr int defaultBaudRate = 115200;

    /// \p settings must outlive this.
    explicit Preferences(Settings &settings, QObject *parent = nullptr);

    [[nodiscard]] static const Definition &definition(Id id);
    /// The rates that can be chosen, in baud, ascending.
    [[nodiscard]] static const QList<int> &baudRates();

    /// The stored value, or the default when there is none or it is not valid. The kind of \p id
    /// must be that of the function; text() is for Kind::Text and Kind::Choice.
    [[nodiscard]] bool flag(Id id) const;
    [[nodiscard]] int number(Id id) const;
    [[nodiscard]] QString text(Id id) const;
    /// Store the value. A number out of range and an unknown choice are refused: nothing changes.
    void setFlag(Id id, bool value);
    void setNumber(Id id, int value);
    void setText(Id id, const QString &value);

    [[nodiscard]] bool isDefault(Id id) const;
    /// Removes the stored value.
    void reset(Id id);

    /// The rate at which the port of that path is opened.
    [[nodiscard]] int baudRate(const QString &port) const;
    /// Only one of baudRates(); the default is not stored.
    void setBaudRate(const QString &port, int rate);

    /// Calls \p apply now and whenever the value of \p id changes, while \p context exists.
    template <typename Apply> void follow(Id id, QObject *context, Apply apply)
    {
        apply();
        whenChanged(id, context, std::move(apply));
    }
    /// The same without the first call.
    template <typename Apply> void whenChanged(Id id, QObject *context, Apply apply)
    {
        connect(this, &Preferences::changed, context,
                [id, apply = std::move(apply)](Id changed) mutable {
                    if (changed == id)
                        apply();
                });
    }

signals:
    /// The value of \p id was changed through this object.
    void changed(Korvane::Preferences::Id id);

private:
    void store(Id id, const QString &value);

    Settings &m_settings;
};

} // namespace Korvane
