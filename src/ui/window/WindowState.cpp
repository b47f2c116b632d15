#include "ui/window/WindowState.h"

#include "base/StateFolder.h"
#include "ui/window/TextZoom.h"

#include <QEvent>
#include <QMainWindow>
#include <QSettings>
#include <QSplitter>

#include <chrono>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

const QString geometryKey = QStringLiteral("geometry");
const QString zoomKey = QStringLiteral("zoom"); // percent

QString hiddenKey(const QSplitter &splitter, int part)
{
    return splitter.objectName() + QStringLiteral("Hidden") + QString::number(part);
}

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
    , m_zoom(window.findChild<TextZoom *>())
{
    restore();
    m_saveDelay.setSingleShot(true);
    m_saveDelay.setInterval(500ms);
    connect(&m_saveDelay, &QTimer::timeout, this, &WindowState::save);
    window.installEventFilter(this);
    if (m_zoom)
        connect(m_zoom, &TextZoom::changed, &m_saveDelay, qOverload<>(&QTimer::start));
    for (const QSplitter *splitter : m_splitters)
        connect(splitter, &QSplitter::splitterMoved, &m_saveDelay, qOverload<>(&QTimer::start));
    for (const QSplitter *splitter : m_splitters) {
        for (int part = 0; part < splitter->count(); ++part)
            splitter->widget(part)->installEventFilter(this);
    }
}

bool WindowState::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::HideToParent:
    case QEvent::ShowToParent:
        m_saveDelay.start();
        break;
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::WindowStateChange:
        if (watched == &m_window && m_window.isVisible())
            m_saveDelay.start();
        break;
    case QEvent::Close:
        if (watched == &m_window && m_saveDelay.isActive())
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
    if (const int percent = file.value(zoomKey).toInt(); m_zoom && percent > 0)
        m_zoom->setPercent(percent);
    for (QSplitter *splitter : m_splitters) {
        for (int part = 0; part < splitter->count(); ++part) {
            if (file.value(hiddenKey(*splitter, part)).toBool())
                splitter->widget(part)->hide();
        }
    }
}

QCoro::Task<void> WindowState::save()
{
    m_saveDelay.stop();
    QVariantMap values;
    values.insert(geometryKey, m_window.saveGeometry());
    for (const QSplitter *splitter : m_splitters)
        values.insert(splitter->objectName(), splitter->saveState());
    if (m_zoom)
        values.insert(zoomKey, m_zoom->percent());
    for (const QSplitter *splitter : m_splitters) {
        for (int part = 0; part < splitter->count(); ++part)
            values.insert(hiddenKey(*splitter, part), splitter->widget(part)->isHidden());
    }
    const std::function<bool()> write = [path = m_path, values] {
        QSettings file(path, QSettings::IniFormat);
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            file.setValue(value.key(), value.value());
        return true;
    };
    co_await m_writer.run(write);
}

} // namespace Korvane
