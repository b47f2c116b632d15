#pragma once

#include <QWidget>

namespace Korvane {

class WrappedLabel;

/// Shown in a pane without content: a symbol, a title and a text below it.
class MessagePage final : public QWidget
{
    Q_OBJECT

public:
    explicit MessagePage(const QString &symbol, QWidget *parent = nullptr);

    void setTexts(const QString &title, const QString &text);

private:
    WrappedLabel *m_title;
    WrappedLabel *m_text;
};

} // namespace Korvane
