#pragma once

#include "document/PythonColoring.h"

#include <QString>

#include <unicode/uregex.h>

#include <memory>
#include <utility>
#include <vector>

namespace Korvane {

/// The eight passes as regular expressions, run one after the other over the whole text by the
/// engine whose syntax and classes they are written in.
class IcuColoring final
{
public:
    IcuColoring()
    {
        add(PythonToken::Comment, 0, QStringLiteral("#[^\\n]*"));
        add(PythonToken::String, 0,
            QStringLiteral("\\\"\\\"\\\"[\\s\\S]*?\\\"\\\"\\\"|\\'\\'\\'[\\s\\S]*?\\'\\'\\'|"
                           "\\\"(?:[^\\\"\\\\\\n]|\\\\.)*\\\"|\\'(?:[^\\'\\\\\\n]|\\\\.)*\\'"));
        add(PythonToken::Number, 0,
            QStringLiteral("\\b\\d+(?:\\.\\d+)?(?:[eE][+-]?\\d+)?\\b|0x[0-9a-fA-F]+"));
        add(PythonToken::BuiltInName, 0, words(PythonColoring::builtInNames()));
        add(PythonToken::Keyword, 0, words(PythonColoring::keywords()));
        add(PythonToken::Decorator, 0, QStringLiteral("@\\w+"));
        add(PythonToken::FunctionName, 1, QStringLiteral("\\bdef\\s+(\\w+)"));
        add(PythonToken::ClassName, 1, QStringLiteral("\\bclass\\s+(\\w+)"));
    }

    [[nodiscard]] std::vector<PythonToken> color(const QString &text) const
    {
        std::vector<PythonToken> tokens(static_cast<size_t>(text.size()), PythonToken::Plain);
        for (const Pass &pass : m_passes) {
            UErrorCode error = U_ZERO_ERROR;
            uregex_setText(pass.regex.get(), units(text), static_cast<int32_t>(text.size()),
                           &error);
            while (uregex_findNext(pass.regex.get(), &error)) {
                const int32_t start = uregex_start(pass.regex.get(), pass.group, &error);
                const int32_t end = uregex_end(pass.regex.get(), pass.group, &error);
                std::fill(tokens.begin() + start, tokens.begin() + end, pass.token);
            }
            if (U_FAILURE(error))
                qFatal("the engine gave up: %s", u_errorName(error));
        }
        return tokens;
    }

private:
    struct Close
    {
        void operator()(URegularExpression *regex) const { uregex_close(regex); }
    };
    struct Pass
    {
        PythonToken token;
        int group;
        std::unique_ptr<URegularExpression, Close> regex;
    };

    static const UChar *units(const QString &text)
    {
        return reinterpret_cast<const UChar *>(text.utf16());
    }
    static QString words(const QList<QStringView> &list)
    {
        QStringList alternatives;
        for (const QStringView word : list)
            alternatives << word.toString();
        return QStringLiteral("\\b(%1)\\b").arg(alternatives.join(u'|'));
    }
    void add(PythonToken token, int group, const QString &pattern)
    {
        UErrorCode error = U_ZERO_ERROR;
        auto *regex = uregex_open(units(pattern), static_cast<int32_t>(pattern.size()),
                                  UREGEX_DOTALL, nullptr, &error);
        uregex_setStackLimit(regex, 0, &error); // none
        if (U_FAILURE(error))
            qFatal("no pattern: %s", qPrintable(pattern));
        m_passes.push_back({token, group, std::unique_ptr<URegularExpression, Close>(regex)});
    }

    std::vector<Pass> m_passes;
};

} // namespace Korvane
