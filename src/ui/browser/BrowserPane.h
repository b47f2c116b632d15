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

/// What both file browsers are made of: a header with the folder and its buttons, and below it
/// the entries or a page in their place.
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
        /// The texts of the commands here.
        QString openText;
        QString copyText;
        /// Empty where changed files are not sent from.
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

    /// Also while a page is shown instead of them.
    void focusEntries();
    [[nodiscard]] FileListView &list() const { return *m_list; }
    /// Backspace and Alt+Up lead to the enclosing folder.
    [[nodiscard]] static bool isUpKey(const QKeyEvent &event);

    [[nodiscard]] virtual Abilities abilities() const = 0;
    // On the selected entries
    virtual void openSelected() = 0;
    virtual void copySelected() = 0;
    virtual void deleteSelected() = 0;
    void renameSelected() { m_list->editName(); }
    /// Of the selected folder, or of the one that is shown.
    virtual void sendChangedFiles() { }
    // In the folder that is shown
    virtual void createFile() = 0;
    virtual void createFolder() = 0;
    /// The actions must outlive this. Those for entries have their keys in the list.
    void setMenuActions(const MenuActions &actions);
    /// Whether \p dropped may be dropped on this pane, or on the tab that shows it.
    [[nodiscard]] bool acceptsDrop(const QMimeData &dropped) const { return accepts(dropped); }
    /// Drops \p dropped into the folder that is shown; false when it is refused.
    bool dropHere(const QMimeData &dropped);

signals:
    void enclosingFolderRequested();
    void abilitiesChanged();

protected:
    QToolButton *addButton(const QString &symbol, const QString &help, const char *name);
    /// \p path in full is the label's help.
    void setFolder(const QString &shown, const QString &path);
    [[nodiscard]] ElidedLabel &folderLabel() { return *m_folder; }
    /// Takes a page that can be shown in place of the entries.
    void addPage(QWidget *page);
    /// Below the entries, also while a page is shown.
    void addFooter(QWidget *footer);
    /// What the selected entries are on the clipboard and in a drag; null without any.
    [[nodiscard]] virtual std::unique_ptr<QMimeData> dragData() const = 0;
    virtual void nameEdited(const QString &oldName, const QString &newName) = 0;
    virtual void paste(const QMimeData &dropped) = 0;
    /// Null shows the entries. The keyboard's focus stays in the pane.
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
