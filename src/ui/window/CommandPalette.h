#pragma once

#include <QFrame>
#include <QPointer>

class QAction;
class QLineEdit;
class QMainWindow;
class QTreeWidget;

namespace Korvane {

/// Finds a command of the window by parts of its name, shows its key, and runs it.
class CommandPalette final : public QFrame
{
    Q_OBJECT

public:
    /// Child of \p window.
    explicit CommandPalette(QMainWindow &window);

    /// Shows the commands that the window offers now. Escape and a click elsewhere close it.
    void open();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Entry
    {
        QString name;
        QPointer<QAction> action;
    };

    void collect();
    void collectFrom(const QList<QAction *> &actions, const QString &menu);
    void list();
    void runCurrent();

    QMainWindow &m_window;
    QLineEdit *m_field;
    QTreeWidget *m_list;
    QList<Entry> m_entries;
};

} // namespace Korvane
