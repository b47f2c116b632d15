#pragma once

#include "document/TextSearch.h"
#include "editor/EditorBar.h"

class QLabel;
class QToolButton;

namespace Korvane {

/// What to find, how much of it was found, and what replaces it. Return and Shift+Return in the
/// first field ask for the next and the previous place, Return in the second one replaces.
class FindBar final : public EditorBar
{
    Q_OBJECT

public:
    explicit FindBar(QWidget *parent);

    [[nodiscard]] TextSearch search() const;
    void setQuery(const QString &query);
    [[nodiscard]] QString replacement() const;
    void setReplaceShown(bool isShown);
    void setInSelection(bool isInSelection);

    /// \p current counts from 1 and is 0 when none of those found is selected.
    void showCount(qsizetype current, qsizetype total);
    /// In place of the count, until that changes.
    void showReplaced(qsizetype count);
    void showFault(const QString &fault);

    [[nodiscard]] int fitTo(int width) override;

signals:
    void searchChanged();
    /// The user turns it on or off.
    void inSelectionRequested(bool isInSelection);
    void nextRequested();
    void previousRequested();
    void replaceRequested();
    void replaceAllRequested();

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void makeReplaceRow();
    QToolButton *makeOption(const QString &sign, const QString &name, const QString &toolTip);
    void showText(const QString &text, bool isFault);

    QLabel *m_count;
    QWidget *m_options;
    QToolButton *m_matchCase;
    QToolButton *m_wholeWords;
    QToolButton *m_regularExpression;
    QToolButton *m_inSelection;
    QWidget *m_replaceRow;
    QLineEdit *m_replacement;
    bool m_isNarrow = false;
};

} // namespace Korvane
