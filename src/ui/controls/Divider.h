#pragma once

#include <QWidget>

namespace Korvane {

/// A line of one pixel in the separator color.
class Divider final : public QWidget
{
    Q_OBJECT

public:
    explicit Divider(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Korvane
