#pragma once

#include "base/UserPrompts.h"

#include <QDialog>

#include <functional>

class QLineEdit;

namespace Korvane {

class WrappedLabel;

/// Asks for a name. Confirming one that cannot be used shows the reason below the field, and the
/// dialog stays open.
class NameDialog final : public QDialog
{
    Q_OBJECT

public:
    NameDialog(const UserPrompts::NamePrompt &prompt, QWidget *window);

    /// What was typed, without the white space around it.
    [[nodiscard]] QString name() const;
    void accept() override;

private:
    void showProblem(const QString &problem);
    [[nodiscard]] QString findProblem() const;

    std::function<QString(const QString &name)> m_nameProblem;
    QLineEdit *m_field;
    WrappedLabel *m_problem;
};

} // namespace Korvane
