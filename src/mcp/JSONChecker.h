#pragma once

#include <QByteArrayView>

#include <vector>

namespace Korvane {

/// Tells whether bytes are one JSON text, strictly: nothing in front of it or behind it but white
/// space, no byte-order mark, no bare control characters, no halves of surrogate pairs, UTF-8
/// throughout. It works in steps, so that a long text need not be checked in one go, and needs no
/// stack for depth.
class JSONChecker final
{
public:
    enum class Verdict { Unfinished, WellFormed, Malformed };

    /// \p text is borrowed.
    explicit JSONChecker(QByteArrayView text);

    /// Looks at about \p bytes more.
    [[nodiscard]] Verdict advance(qsizetype bytes);

    /// The text is an array, and all that has been seen of its elements were objects.
    [[nodiscard]] bool isArrayOfObjects() const { return m_isArray && m_isArrayOfObjects; }

private:
    enum class Expected { Value, ValueOrEnd, Name, NameOrEnd, Colon, CommaOrEnd, Nothing };
    enum class Container : char { Array, Object };

    void skipWhiteSpace();
    [[nodiscard]] bool token();
    [[nodiscard]] bool value();
    [[nodiscard]] bool open(Container container);
    [[nodiscard]] bool close(Container container);
    [[nodiscard]] bool literal(QByteArrayView word);
    [[nodiscard]] bool number();
    [[nodiscard]] bool digits();
    [[nodiscard]] bool stringPart(qsizetype limit);
    [[nodiscard]] bool escape();
    [[nodiscard]] int hexUnit();
    void valueDone();

    QByteArrayView m_text;
    qsizetype m_position = 0;
    Expected m_expected = Expected::Value;
    std::vector<Container> m_open;
    bool m_isInString = false;
    bool m_isMalformed;
    bool m_isArray = false;
    bool m_isArrayOfObjects = true;
};

} // namespace Korvane
