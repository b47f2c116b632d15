#include "ui/window/WindowState.h"

#include "base/StateFolder.h"

#include <QEvent>
#include <QMainWindow>
#include <QSettings>
#include <QSplitter>

#include <chrono>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

const QString geometryKey = QStringLiteral("geometry");

} // namespace

QString WindowState::defaultPath()
{
    return stateFolder() + QStringLiteral("/window.ini");
}

WindowState::WindowState(const QString &path, QMainWindow &window)
    : QObject(&window)
    , m_path(path)
    , m_window(window)
    , m_splitters(window.findChildren<QSplitter *>())
{
    restore();
    m_rest.setSingleShot(true);
    m_rest.setInterval(500ms);
    connect(&m_rest, &QTimer::timeout, this, &WindowState::save);
    window.installEventFilter(this);
    for (const QSplitter *splitter : m_splitters)
        connect(splitter, &QSplitter::splitterMoved, &m_rest, qOverload<>(&QTimer::start));
}

bool WindowState::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::WindowStateChange:
        if (m_window.isVisible())
            m_rest.start();
        break;
    case QEvent::Close:
        if (m_rest.isActive())
            save();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void WindowState::restore()
{
    const QSettings file(m_path, QSettings::IniFormat);
    m_window.restoreGeometry(file.value(geometryKey).toByteArray());
    for (QSplitter *splitter : m_splitters)
        splitter->restoreState(file.value(splitter->objectName()).toByteArray());
}

void WindowState::save()
{
    m_rest.stop();
    QSettings file(m_path, QSettings::IniFormat);
    file.setValue(geometryKey, m_window.saveGeometry());
    for (const QSplitter *splitter : m_splitters)
        file.setValue(splitter->objectName(), splitter->saveState());
}

} // namespace Korvane
