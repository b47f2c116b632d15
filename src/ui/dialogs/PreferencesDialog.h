#pragma once

#include "app/Preferences.h"
#include "base/Lifetime.h"

#include <QCoro/QCoroTask>
#include <QDialog>
#include <QList>

class QGridLayout;
class QLabel;
class QLineEdit;
class QScrollArea;

namespace Korvane {

class AppState;
class MCPServer;

/// All preferences on one page, with a search field. Changes take effect at once; beside each
/// preference a button shows the default and returns to it.
class PreferencesDialog final : public QDialog
{
    Q_OBJECT

public:
    /// \p state and \p server must outlive this.
    PreferencesDialog(AppState &state, MCPServer &server, QWidget *window);

protected:
    void showEvent(QShowEvent *event) override;

private:
    /// Widgets that the search shows and hides together.
    struct Row
    {
        QString text; // searched
        QList<QWidget *> widgets;
        qsizetype section;
    };

    void addEditorSection();
    void addShellSection();
    void addWindowSection();
    void addDocumentSection();
    void addRunSection();
    void addServerSection();
    void addSection(const QString &title);
    /// A row with a label before \p control, and \p note below it unless that is empty.
    void addRow(const QString &title, QWidget *control, const QString &note = {});
    /// The same with a button that shows \p defaultText and resets \p id.
    void addRow(const QString &title, Preferences::Id id, QWidget *control,
                const QString &defaultText, const QString &note = {});
    /// The same for a number whose default is within its range; \p suffix follows the numbers.
    void addNumber(const QString &title, Preferences::Id id, const QString &suffix,
                   const QString &note = {});
    void addFlag(const QString &title, Preferences::Id id, const QString &note = {});
    [[nodiscard]] QWidget *makeReset(const QString &title, Preferences::Id id,
                                     const QString &defaultText);
    void finishRow(const QString &title, QList<QWidget *> widgets, const QString &note);
    void search(const QString &text);
    QCoro::Task<void> askForNewToken();

    AppState &m_state;
    MCPServer &m_server;
    QLineEdit *m_search;
    QScrollArea *m_scroll;
    bool m_isSized = false;
    QGridLayout *m_grid;
    QLabel *m_nothingFound;
    QList<QLabel *> m_sections;
    QList<Row> m_rows;
    Lifetime m_life;
};

} // namespace Korvane
