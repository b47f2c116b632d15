#pragma once

#include "board/DeviceLink.h"
#include "support/Home.h"
#include "support/MemorySettings.h"
#include "support/ScriptedPrompts.h"
#include "support/ShellLines.h"
#include "support/TestPort.h"
#include "ui/window/ContentView.h"
#include "ui/window/KorvaneApp.h"

#include <QAction>
#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

namespace Korvane {

/// The whole program with its window on the screen, without this computer's settings, state and
/// ports.
struct WindowFixture
{
    enum class Python { None, Real };

    explicit WindowFixture(Python python = Python::None, const QString &ports = {},
                           const MemorySettings &initialSettings = {})
        : settings(initialSettings)
    {
        useHome(home.path());
        if (!qApp->property("korvaneIsSetUp").toBool()) {
            KorvaneApp::setUp(*qApp);
            qApp->setProperty("korvaneIsSetUp", true);
        }
        KorvaneReplacements replacements{.settings = &settings,
                                         .prompts = &prompts,
                                         .serialRoots = TestPort::roots(),
                                         .virtualBoardFolder =
                                             qEnvironmentVariable("KORVANE_SOURCE_DIR")
                                             + QStringLiteral("/tools/virtual-board")};
        if (!ports.isEmpty())
            replacements.serialRoots.extraPorts = ports;
        if (python == Python::None)
            replacements.interpreters.clear();
        app = std::make_unique<KorvaneApp>(replacements);
        app->show();
        window().activateWindow();
        if (!QTest::qWaitForWindowActive(&window()))
            qFatal("the window never became active");
        state().shell().clear();
    }

    AppState &state() { return app->state(); }
    ContentView &window() { return app->window(); }
    template <typename T> T *find(const char *name)
    {
        T *found = window().findChild<T *>(QString::fromLatin1(name));
        if (!found)
            qFatal("the window has no %s", name);
        return found;
    }
    void click(const char *name) { QTest::mouseClick(find<QWidget>(name), Qt::LeftButton); }
    /// A key for the widget with the focus, as the keyboard sends it.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(window().windowHandle(), key, modifiers);
    }
    /// The command with that text, which includes the “&” of its mnemonic.
    QAction *command(const QString &text)
    {
        const QList<QAction *> actions = window().findChildren<QAction *>();
        const auto found = std::find_if(actions.begin(), actions.end(), [&](const QAction *action) {
            return action->text() == text;
        });
        if (found == actions.end())
            qFatal("the window has no command %s", qPrintable(text));
        return *found;
    }
    QStringList lines() { return describe(state().shell().replLines()); }

    QTemporaryDir home;
    QTemporaryDir folder;
    MemorySettings settings;
    ScriptedPrompts prompts;
    std::unique_ptr<KorvaneApp> app;
};

} // namespace Korvane
