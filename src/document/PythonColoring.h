#pragma once

#include "theme/Theme.h"

#include <QList>
#include <QStringView>

#include <vector>

namespace Korvane {

/// What a character of Python source is colored as. In the order in which the passes run: where
/// two of them match the same characters, the later one wins.
enum class PythonToken : quint8 {
    Plain,
    Comment,
    String,
    Number,
    BuiltInName,
    Keyword,
    Decorator,
    FunctionName,
    ClassName,
};
constexpr int pythonTokenCount = static_cast<int>(PythonToken::ClassName) + 1;

/// Colors Python source as these eight regular expressions would, applied to the whole text one
/// after the other:
///
/// | token        | pattern                                               | group |
/// | ------------ | ----------------------------------------------------- | ----- |
/// | Comment      | `#[^\n]*`                                             | 0     |
/// | String       | `"""[\s\S]*?"""`, the same with `'''`, then           | 0     |
/// |              | `"(?:[^"\\\n]|\\.)*"`, the same with `'`              |       |
/// | Number       | `\b\d+(?:\.\d+)?(?:[eE][+-]?\d+)?\b|0x[0-9a-fA-F]+`   | 0     |
/// | BuiltInName  | `\b(abs|all|…)\b`                                     | 0     |
/// | Keyword      | `\b(False|None|…)\b`                                  | 0     |
/// | Decorator    | `@\w+`                                                | 0     |
/// | FunctionName | `\bdef\s+(\w+)`                                       | 1     |
/// | ClassName    | `\bclass\s+(\w+)`                                     | 1     |
///
/// `.` matches every character, a CR LF pair as one; `\w`, `\d`, `\s` and `\b` are Unicode's
/// (WordCharacters). The passes are independent: a keyword inside a string is a keyword.
///
/// Scanners written by hand give the same result in linear time for every text: there is no
/// backtracking, and no limit for the length of a string.
class PythonColoring final
{
public:
    /// Sets \p tokens to one token for each UTF-16 unit of \p text.
    static void color(QStringView text, std::vector<PythonToken> &tokens);

    /// The color of \p token.
    [[nodiscard]] static Theme::Role role(PythonToken token);

    /// The words of the fourth and the fifth pass.
    [[nodiscard]] static const QList<QStringView> &builtInNames();
    [[nodiscard]] static const QList<QStringView> &keywords();
};

} // namespace Korvane
