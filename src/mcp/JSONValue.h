#pragma once

#include <QByteArrayView>
#include <QString>

namespace Korvane {

/// One value inside a text that JSONChecker has found well-formed. It is a borrowed piece of that
/// text and keeps it as it came: a number of any size, a string's own escapes. On other bytes what
/// it says is of no use, but nothing outside them is read.
class JSONValue final
{
public:
    enum class Kind { Object, Array, String, Number, Boolean, Null };

    /// \p text may have white space around the value.
    explicit JSONValue(QByteArrayView text);

    [[nodiscard]] Kind kind() const;
    [[nodiscard]] bool isObject() const { return kind() == Kind::Object; }
    [[nodiscard]] bool isString() const { return kind() == Kind::String; }

    /// The value as it was written, without white space around it.
    [[nodiscard]] QByteArrayView text() const { return m_text; }
    /// What a string says; empty for other kinds.
    [[nodiscard]] QString string() const;
    /// What a number says, as exactly as a double can: infinite or zero beyond its range. Zero for
    /// other kinds.
    [[nodiscard]] double number() const;
    /// Whether this is a string that says \p ascii, however it is written.
    [[nodiscard]] bool says(QLatin1StringView ascii) const;

private:
    QByteArrayView m_text;
};

} // namespace Korvane
