#include "ui/ContentView.h"

#include "editor/CodeEditorView.h"
#include "ui/BottomPane.h"
#include "ui/EditorArea.h"
#include "ui/IDEToolbar.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>

#include <algorithm>

namespace Korvane {

ContentView::ContentView(AppState &state, QWidget *parent)
    : QMainWindow(parent)
    , m_toolbar(new IDEToolbar(state))
    , m_editorArea(new EditorArea(state))
    , m_bottomPane(new BottomPane(state))
{
    setObjectName(QStringLiteral("contentView"));
    setAccessibleName(QGuiApplication::applicationDisplayName()); // in place of the title
    addToolBar(m_toolbar);

    // The sidebar is the column to the left of the detail column.
    auto *columns = new QSplitter(Qt::Horizontal);
    auto *detail = new QSplitter(Qt::Vertical);
    detail->setChildrenCollapsible(false);
    detail->addWidget(m_editorArea);
    detail->addWidget(m_bottomPane);
    detail->setStretchFactor(0, 3);
    detail->setStretchFactor(1, 2);
    detail->setSizes({420, 280});
    columns->addWidget(detail);
    setCentralWidget(columns);

    setMinimumSize(560, 400);
    resize(QSize(1080, 740).boundedTo(screen()->availableSize() * 9 / 10));
    for (QPlainTextEdit *edit : findChildren<QPlainTextEdit *>())
        edit->installEventFilter(this);
    m_editorArea->editor().setFocus();

    // The editor keeps Tab for itself.
    auto *nextPane = new QShortcut(Qt::Key_F6, this);
    connect(nextPane, &QShortcut::activated, this, [this] {
        if (m_editorArea->isAncestorOf(QApplication::focusWidget()))
            m_bottomPane->focusPane();
        else
            m_editorArea->editor().setFocus();
    });
}

bool ContentView::eventFilter(QObject *watched, QEvent *event)
{
    // Text edits claim some keys for themselves before shortcuts are looked at. The window's own
    // shortcuts win wherever the focus is.
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (isOwnShortcut(QKeySequence(key->keyCombination()))) {
            event->ignore();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

bool ContentView::isOwnShortcut(const QKeySequence &keys) const
{
    const QList<QAction *> actions = findChildren<QAction *>();
    return std::any_of(actions.cbegin(), actions.cend(), [&](const QAction *action) {
        return action->isEnabled() && action->shortcuts().contains(keys);
    });
}

} // namespace Korvane
