#include "ui/dialogs/PreferenceControls.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QSpinBox>

namespace Korvane::PreferenceControls {

namespace {

/// The page of preferences is higher than the dialog. Scrolling it with the wheel must not change a
/// control that gets under the mouse.
class WheelFilter final : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::Wheel || static_cast<QWidget *>(watched)->hasFocus())
            return false;
        event->ignore();
        return true;
    }
};

} // namespace

void ignoreWheelWithoutFocus(QWidget *control)
{
    control->setFocusPolicy(Qt::StrongFocus); // the wheel does not give it the focus
    control->installEventFilter(new WheelFilter(control));
}

QCheckBox *makeFlag(Preferences &preferences, Preferences::Id id, const QString &title)
{
    auto *box = new QCheckBox(title);
    preferences.follow(id, box, [box, id, &preferences] { box->setChecked(preferences.flag(id)); });
    QObject::connect(box, &QCheckBox::toggled, box,
                     [id, &preferences](bool isOn) { preferences.setFlag(id, isOn); });
    return box;
}

QSpinBox *makeNumber(Preferences &preferences, Preferences::Id id, const QString &suffix,
                     const QString &defaultText)
{
    const Preferences::Definition &definition = Preferences::definition(id);
    auto *box = new QSpinBox;
    // A default outside of the range is shown as the step below the minimum.
    const int defaultStep = defaultText.isEmpty() ? definition.minimum : definition.minimum - 1;
    const int defaultNumber = defaultText.isEmpty() ? defaultStep : definition.defaultNumber;
    box->setRange(defaultStep, definition.maximum);
    box->setSpecialValueText(defaultText);
    box->setSuffix(suffix);
    box->setKeyboardTracking(false);
    ignoreWheelWithoutFocus(box);
    preferences.follow(id, box, [=, &preferences] {
        const int number = preferences.number(id);
        box->setValue(number == defaultNumber ? defaultStep : number);
    });
    QObject::connect(box, &QSpinBox::valueChanged, box, [=, &preferences](int value) {
        preferences.setNumber(id, value == defaultStep ? defaultNumber : value);
    });
    return box;
}

QComboBox *makeChoice(Preferences &preferences, Preferences::Id id, const Choices &choices)
{
    auto *box = new QComboBox;
    for (const auto &[value, text] : choices)
        box->addItem(text, value);
    ignoreWheelWithoutFocus(box);
    preferences.follow(id, box, [box, id, &preferences] {
        const QString value = preferences.text(id);
        if (box->findData(value) < 0) // such as a font that is not installed
            box->addItem(value, value);
        box->setCurrentIndex(box->findData(value));
    });
    QObject::connect(box, &QComboBox::activated, box, [box, id, &preferences](int index) {
        preferences.setText(id, box->itemData(index).toString());
    });
    return box;
}

QComboBox *makeFontFamily(Preferences &preferences, Preferences::Id id)
{
    Choices choices{
        {QString(),
         QCoreApplication::translate("Korvane::PreferenceControls", "The desktop’s fixed font")}};
    const QStringList families = QFontDatabase::families();
    for (const QString &family : families) {
        if (QFontDatabase::isFixedPitch(family) && !QFontDatabase::isPrivateFamily(family))
            choices.append({family, family});
    }
    QComboBox *box = makeChoice(preferences, id, choices);
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(20);
    return box;
}

} // namespace Korvane::PreferenceControls
