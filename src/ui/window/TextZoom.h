#pragma once

#include <QFont>
#include <QObject>

namespace Korvane {

/// How much larger or smaller than the chosen fonts the editor and the Shell show text.
class TextZoom final : public QObject
{
    Q_OBJECT

public:
    static constexpr int smallest = 50; // percent
    static constexpr int largest = 400;
    static constexpr int standard = 100;

    using QObject::QObject;

    [[nodiscard]] int percent() const { return m_percent; }
    /// Within the limits; another value is brought there.
    void setPercent(int percent);
    /// By a tenth of the standard size, \p steps times.
    void step(int steps);
    /// \p font, enlarged or reduced.
    [[nodiscard]] QFont applied(QFont font) const;

signals:
    void changed();

private:
    int m_percent = standard;
};

} // namespace Korvane
