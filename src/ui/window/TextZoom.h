#pragma once

#include <QFont>
#include <QObject>

namespace Korvane {

/// The zoom of the editor and the Shell, relative to the chosen fonts.
class TextZoom final : public QObject
{
    Q_OBJECT

public:
    static constexpr int smallest = 50; // percent
    static constexpr int largest = 400;
    static constexpr int standard = 100;

    using QObject::QObject;

    [[nodiscard]] int percent() const { return m_percent; }
    /// In percent; values beyond the limits are clamped.
    void setPercent(int percent);
    /// Changes the zoom by \p steps times 10 % of the standard size; negative steps reduce it.
    void step(int steps);
    /// \p font in the zoomed size.
    [[nodiscard]] QFont zoomed(QFont font) const;

signals:
    void changed();

private:
    int m_percent = standard;
};

} // namespace Korvane
