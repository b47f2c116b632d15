#pragma once

#include "theme/Theme.h"

#include <QWidget>

class QHBoxLayout;
class QStackedWidget;
class QToolButton;

namespace Korvane {

class ElidedLabel;
class FileListView;

/// What both file browsers are made of: a header with the folder and its buttons, and below it
/// the entries or a page in their place.
class BrowserPane : public QWidget
{
    Q_OBJECT

public:
    /// \p listName is the accessible name of the list.
    explicit BrowserPane(const QString &listName, QWidget *parent = nullptr);

    /// Also while a page is shown instead of them.
    void focusEntries();
    [[nodiscard]] FileListView &list() { return *m_list; }
    /// Backspace and Alt+Up lead to the enclosing folder.
    [[nodiscard]] static bool isUpKey(const QKeyEvent &event);

signals:
    void enclosingFolderRequested();

protected:
    QToolButton *addButton(const QString &symbol, const QString &help, const char *name);
    /// \p path in full is the label's help.
    void setFolder(const QString &shown, const QString &path);
    [[nodiscard]] ElidedLabel &folderLabel() { return *m_folder; }
    /// Takes a page that can be shown in place of the entries.
    void addPage(QWidget *page);
    /// Null shows the entries. The keyboard's focus stays in the pane.
    void showPage(QWidget *page);
    [[nodiscard]] QWidget *makeLoadingPage();
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void raisePage();

    QHBoxLayout *m_header;
    ElidedLabel *m_folder;
    QStackedWidget *m_body;
    FileListView *m_list;
    QWidget *m_page = nullptr; // the list, or the page to show in its place
};

} // namespace Korvane
