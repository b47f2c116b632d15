#pragma once

#include <QWidget>

namespace Korvane {

class ElidedLabel;

/// One line below the board's files: a bar of the used space, and the free and used space as text.
class SpaceFooter final : public QWidget
{
    Q_OBJECT

public:
    explicit SpaceFooter(QWidget *parent = nullptr);

    /// In bytes. \p total is greater than 0.
    void setSpace(qint64 total, qint64 free);

private:
    class Bar;

    Bar *m_bar;
    ElidedLabel *m_text;
};

} // namespace Korvane
