#pragma once

#include "theme/Theme.h"
#include "ui/browser/BoardPathsMime.h"
#include "ui/browser/FileListView.h"
#include "ui/browser/PaneDrops.h"

#include <QWidget>

#include <memory>

class QAction;
class QHBoxLayout;
class QMenu;
class QMimeData;
class QStackedWidget;
class QToolButton;

namespace Korvane {

class ElidedLabel;

/// The base of both file browsers: a header with the folder and its buttons, and below it the
/// entries or a page in their place.
class BrowserPane : public QWidget, protected PaneDrops::Target
{
    Q_OBJECT

public:
    /// Which commands apply to what is shown and selected.
    struct Abilities
    {
        bool canOpen = false;
        bool canCopy = false;
        bool canCreate = false;
        bool canRename = false;
        bool canDelete = false;
        /// The texts of the commands in this browser.
        QString openText;
        QString copyText;
        /// Empty when changed files cannot be sent.
        QString sendChangedText;
        QString deleteText;
    };
    /// The commands in the context menus.
    struct MenuActions
    {
        QList<QAction *> forEntries;
        QList<QAction *> forFolder;
    };

    /// \p listName is the accessible name of the list.
    explicit BrowserPane(const QString &listName, QWidget *parent = nullptr);

    /// Gives the focus to the list, or to the page in its place.
    void focusEntries();
    [[nodiscard]] FileListView &list() const { return *m_list; }
    /// Whether \p event is a key for the enclosing folder: Backspace or Alt+Up.
    [[nodiscard]] static bool isUpKey(const QKeyEvent &event);

    [[nodiscard]] virtual Abilities abilities() const = 0;
    // On the selected entries
    virtual void openSelected() = 0;
    virtual void copySelected() = 0;
    virtual void deleteSelected() = 0;
    void renameSelected() { m_list->editName(); }
    /// Sends those of the selected folder, or of the one that is shown.
    virtual void sendChangedFiles() { }
    // In the folder that is shown
    virtual void createFile() = 0;
    virtual void createFolder() = 0;
    /// The actions must outlive this. Those for entries are added to the list, so that their
    /// shortcuts work there.
    void setMenuActions(const MenuActions &actions);
    /// Whether \p dropped may be dropped on this pane, or on the tab that shows it.
    [[nodiscard]] bool acceptsDrop(const QMimeData &dropped) const { return accepts(dropped); }
    /// Drops \p dropped into the folder that is shown; false when it is refused.
    bool dropHere(const QMimeData &dropped);

signals:
    void enclosingFolderRequested();
    /// What abilities() returns may be different now.
    void abilitiesChanged();

protected:
    /// Adds a button to the header. \p name is its object name.
    QToolButton *addButton(const QString &symbol, const QString &help, const char *name);
    /// \p path is the tool tip of the label.
    void setFolder(const QString &shown, const QString &path);
    [[nodiscard]] ElidedLabel &folderLabel() { return *m_folder; }
    /// Takes ownership of a page that can be shown in place of the entries.
    void addPage(QWidget *page);
    /// Takes ownership of \p footer, which is below the entries also while a page is shown.
    void addFooter(QWidget *footer);
    /// The data of the selected entries for the clipboard and for a drag; null without any.
    [[nodiscard]] virtual std::unique_ptr<QMimeData> dragData() const = 0;
    virtual void nameEdited(const QString &oldName, const QString &newName) = 0;
    /// Why an entry cannot be named \p name; empty when it can.
    [[nodiscard]] virtual QString nameProblem(const QString &name) const = 0;
    virtual void paste(const QMimeData &dropped) = 0;
    /// Shows \p page, or the entries when it is null. The focus stays in the pane.
    void showPage(QWidget *page);
    [[nodiscard]] QWidget *makeLoadingPage();
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void raisePage();
    [[nodiscard]] QMenu *makeMenu(int row);
    void putOnClipboard(ClipboardMark::Kind kind);

    QHBoxLayout *m_header;
    ElidedLabel *m_folder;
    QStackedWidget *m_body;
    FileListView *m_list;
    QWidget *m_page = nullptr; // the list, or the page to show in its place
    MenuActions m_menuActions;
};

} // namespace Korvane
