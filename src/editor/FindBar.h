#pragma once

#include "document/TextSearch.h"
#include "editor/EditorBar.h"

class QLabel;
class QToolButton;

namespace Korvane {

/// The bar for finding and replacing: the query and its options, the number of matches, and the
/// replacement. Return and Shift+Return in the field of the query request the next and the previous
/// match, Return in that of the replacement requests to replace.
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

    /// Shows the number of matches. \p current counts from 1 and is 0 when no match is selected.
    void showCount(qsizetype current, qsizetype total);
    /// Shows the number of replaced matches until showCount() or showError() is called.
    void showReplaced(qsizetype count);
    /// Shows \p error of the query or the replacement in place of the count.
    void showError(const QString &error);

    [[nodiscard]] int fitTo(int width) override;

signals:
    void searchChanged();
    /// The user has turned the limit to the selection on or off.
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
    QToolButton *makeOption(const QString &text, const QString &name, const QString &toolTip);
    void showText(const QString &text, bool isError);

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
