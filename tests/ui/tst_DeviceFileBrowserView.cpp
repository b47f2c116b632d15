#include "support/Awaited.h"
#include "support/Files.h"
#include "support/ScriptedBoard.h"
#include "ui/WindowFixture.h"
#include "ui/browser/BoardPathsMime.h"
#include "ui/browser/DeviceFileBrowserView.h"
#include "ui/browser/FileListView.h"
#include "ui/controls/ElidedLabel.h"

#include <QDir>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QToolButton>
#include <QToolTip>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// The files of a board with a given listing, operated by mouse and keys.
class tst_DeviceFileBrowserView final : public QObject
{
    Q_OBJECT

private:
    QByteArray m_listing;
    QStringList m_programs;
    std::unique_ptr<ScriptedBoard> m_board;
    std::unique_ptr<WindowFixture> m_fixture;
    DeviceFileBrowserView *m_view = nullptr;

    FileListView &list() const { return m_view->list(); }
    QModelIndex row(int number) const { return list().model()->index(number, 0); }
    QString shown() const
    {
        QStringList rows;
        for (int i = 0; i < list().model()->rowCount(); ++i)
            rows << row(i).data(Qt::AccessibleTextRole).toString();
        return rows.join(u'|');
    }
    /// The page that is shown in place of the entries: "title|text".
    QString message() const
    {
        QStringList texts;
        for (const QLabel *label : m_view->findChildren<QLabel *>()) {
            if (label->isVisible() && !label->text().isEmpty())
                texts << label->text();
        }
        return texts.join(u'|');
    }
    DeviceFiles &files() const { return m_fixture->state().deviceFiles(); }
    void browseHere(const QString &folder)
    {
        m_fixture->state().localFiles().setLocalWorkingDir(folder);
    }
    bool isIdle() const
    {
        return !files().isLoadingDeviceFiles()
            && !m_fixture->state().link().deviceCommandInFlight();
    }
    void connectBoard()
    {
        QVERIFY(m_fixture->state().link().connectDevice(m_board->port()));
        QTRY_VERIFY(m_fixture->state().link().connectionState().isConnected() && isIdle());
    }
    void choose(int number)
    {
        list().setFocus();
        list().setCurrentIndex(row(number));
    }
    /// Picks an item of the row's menu; returns the texts of all items.
    QString pick(int number, const QString &item)
    {
        choose(number);
        m_fixture->press(Qt::Key_F10, Qt::ShiftModifier);
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QStringList items;
        QAction *picked = nullptr;
        for (QAction *action : menu ? menu->actions() : QList<QAction *>()) {
            items << action->text();
            picked = items.last() == item ? action : picked;
        }
        if (picked)
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(picked).center());
        return items.join(u'|');
    }

private slots:
    void init()
    {
        m_listing = R"([{"n":"main.py","p":"/main.py","d":false,"s":1023},
            {"n":"%1 %2.bin","p":"/%1 %2.bin","d":false,"s":1536},
            {"n":"large.hex","p":"/large.hex","d":false,"s":3145728},
            {"n":"lib","p":"/lib","d":true,"s":0,"c":[
                {"n":"deep","p":"/lib/deep","d":true,"s":0,"c":[]},
                {"n":"x.txt","p":"/lib/x.txt","d":false,"s":0}]}])";
        m_programs.clear();
        m_board = std::make_unique<ScriptedBoard>();
        m_board->onProgram = [this](const QByteArray &program) {
            if (program.contains("__LS__"))
                return ScriptedBoard::reply("__LS__" + m_listing.simplified());
            m_programs << QString::fromUtf8(program);
            if (program.contains("__LOOK__"))
                return ScriptedBoard::reply("__LOOK__0");
            if (program.contains("__FILE__"))
                return ScriptedBoard::reply("__FILE__cHJpbnQoMSkK");
            return ScriptedBoard::reply(program.contains("__EXISTS__") ? "__EXISTS__0" : "__OK__");
        };
        m_fixture = std::make_unique<WindowFixture>(WindowFixture::Python::None, m_board->port());
        m_fixture->state().setSidebarTab(AppState::SidebarTab::Device);
        m_view = m_fixture->find<DeviceFileBrowserView>("deviceBrowser");
    }
    void cleanup()
    {
        m_fixture.reset();
        m_board.reset();
    }

    void showsEveryState()
    {
        const QString noBoard =
            u"No device connected|Use the toolbar to connect a MicroPython device"_s;
        QCOMPARE(message(), noBoard);
        QStringList seen;
        connect(&files(), &DeviceFiles::isLoadingDeviceFilesChanged, m_view, [&] {
            if (files().isLoadingDeviceFiles())
                QTimer::singleShot(0, m_view, [&] { seen << message(); });
        });
        connectBoard();
        QCOMPARE(seen.join(u';'), u"Loading files…"_s);
        QCOMPARE(shown(), u"lib, folder|%1 %2.bin, 1.5 KB|large.hex, 3072.0 KB|main.py, 1023 B"_s);
        const QRect end =
            list().visualRect(row(3)).adjusted(list().viewport()->width() - 60, 0, 0, 0);
        const QImage drawn = list().viewport()->grab(end).toImage();
        QImage blank = drawn;
        blank.fill(drawn.pixelColor(0, 0));
        QVERIFY2(drawn != blank, "the size is drawn");
        QStringList symbols;
        for (const auto &row : static_cast<FileListModel *>(list().model())->rows())
            symbols << FileListModel::symbol(row);
        QCOMPARE(symbols.join(u' '), u"folder doc.zipper doc.zipper doc.plaintext"_s);
        QVERIFY(list().isVisible());

        files().setDeviceWorkingDir(u"/lib/deep"_s);
        QCOMPARE(message(), u"Empty folder|/lib/deep"_s);
        m_listing = "[]"; // without the folder that is being browsed
        m_fixture->click("refreshDevice");
        QTRY_COMPARE(message(), u"No files found|The device filesystem appears empty"_s);
        QCOMPARE(files().deviceWorkingDir(), u"/"_s);
        m_listing = "damaged";
        m_fixture->click("refreshDevice");
        QTRY_COMPARE(message(),
                     u"The files could not be listed|Could not parse device file listing"_s);
        m_board->vanish();
        QTRY_COMPARE(message(), noBoard);
    }

    void keepsThePlaceInAFolder()
    {
        connectBoard();
        choose(0);
        m_fixture->press(Qt::Key_Return);
        QCOMPARE(shown(), u"deep, folder|x.txt, 0 B"_s);
        const auto *label = m_view->findChild<ElidedLabel *>();
        QCOMPARE(label->text() + u' ' + label->toolTip(), u"/lib /lib"_s);
        m_fixture->press(Qt::Key_Down);
        m_fixture->click("refreshDevice");
        QTRY_VERIFY(isIdle() && list().isVisible());
        QVERIFY(list().hasFocus()); // the listing neither took the focus nor the place
        QCOMPARE(list().currentIndex().data().toString(), u"x.txt"_s);
        files().setDeviceWorkingDir(u"/lib/deep"_s); // a page takes the place of the list
        m_fixture->press(Qt::Key_Backspace);
        QCOMPARE(files().deviceWorkingDir(), u"/lib"_s);
        QVERIFY(list().hasFocus());
        m_fixture->press(Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(files().deviceWorkingDir(), u"/"_s);
        QCOMPARE(list().currentIndex().data().toString(), u"lib"_s);
    }

    void showsAndRunsTheCommandsOfARow()
    {
        const QString folder = m_fixture->folder.filePath(u"R&D"_s);
        QVERIFY(QDir().mkdir(folder));
        connectBoard();
        browseHere(u"/"_s);
        QCOMPARE(pick(3, u"&Open in Editor"_s), u"&Open in Editor|&Copy to /||&Rename…|De&lete…"_s);
        QTRY_COMPARE(m_fixture->state().documents().selectedFile()->name(), u"main.py"_s);
        QCOMPARE(m_fixture->state().documents().selectedFile()->devicePath(), u"/main.py"_s);
        browseHere(folder);
        const int version = m_fixture->state().localFiles().localFilesVersion();
        pick(3, u"&Copy to R&&D"_s);
        QTRY_VERIFY(m_fixture->state().localFiles().localFilesVersion() > version);
        QVERIFY(QFile::exists(folder + u"/main.py"_s));
        QTRY_VERIFY(isIdle() && !m_fixture->state().transfer().isSendingToDevice());

        m_fixture->prompts.confirmation.confirmed = false;
        m_programs.clear();
        QCOMPARE(pick(0, u"&Copy Folder to R&&D"_s),
                 u"&Open|&Copy Folder to R&&D||&Rename…|De&lete…"_s);
        QTRY_COMPARE(m_fixture->prompts.asked.size(), 1);
        QVERIFY(m_fixture->prompts.takeAsked().startsWith(u"Copy “lib” to "));
        pick(1, u"De&lete…"_s);
        QTRY_COMPARE(m_fixture->prompts.asked.size(), 1);
        QCOMPARE(m_fixture->prompts.takeAsked(),
                 u"Delete “%1 %2.bin” from the device? | Removes /%1 %2.bin (1536 bytes) from "_s
                     + m_board->port() + u". This cannot be undone. | Delete"_s);
        QCOMPARE(m_programs, QStringList());
        m_fixture->prompts.confirmation.confirmed = true;
        m_listing = R"([{"n":"main.py","p":"/main.py","d":false,"s":1023}])";
        pick(1, u"De&lete…"_s);
        QTRY_COMPARE(shown(), u"main.py, 1023 B"_s);
        QVERIFY(m_programs.join(u' ').contains(u"'/%1 %2.bin'"));
        QTRY_VERIFY(list().hasFocus());
    }

    void renamesInPlaceAndDeletesSeveral()
    {
        connectBoard();
        const auto moveFrame = [this](int number) { // as Ctrl and the arrow keys do
            list().selectionModel()->setCurrentIndex(row(number), QItemSelectionModel::NoUpdate);
        };
        choose(3);
        moveFrame(1);
        m_fixture->press(Qt::Key_F2);
        auto *field = list().findChild<QLineEdit *>(u"renameField"_s);
        QVERIFY(field);
        QCOMPARE(field->selectedText(), u"main"_s);
        QTest::keyClicks(field, u"a/"_s);
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(QToolTip::text().contains(u"isn't a usable name"_s));
        QVERIFY(field->accessibleDescription().contains(u"isn't a usable name"_s));
        QTest::keyClick(field, Qt::Key_Home, Qt::ShiftModifier);
        QTest::keyClicks(field, u"boot"_s);
        QCOMPARE(field->accessibleDescription(), QString());
        files().refreshDeviceFiles();
        QTRY_VERIFY(isIdle());
        QVERIFY(field->hasFocus());
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_VERIFY(m_programs.join(u' ').contains(u"os.rename('/main.py','/boot.py')"));
        QTRY_VERIFY(isIdle() && list().isVisible());
        QVERIFY(list().hasFocus());
        QCOMPARE(m_fixture->state().documents().selectedFile()->name(), u"untitled.py"_s);
        choose(1);
        m_fixture->press(Qt::Key_Down, Qt::ShiftModifier);
        moveFrame(0);
        files().refreshDeviceFiles();
        QTRY_VERIFY(isIdle());
        m_fixture->prompts.confirmation.confirmed = false;
        m_fixture->press(Qt::Key_Delete);
        QTRY_COMPARE(m_fixture->prompts.asked.size(), 1);
        QVERIFY(m_fixture->prompts.takeAsked().startsWith(
            u"Delete 2 items from the device? | Removes “%1 %2.bin”, “large.hex” with 2 files"));
    }

    void acceptsDrops()
    {
        connectBoard();
        const QPoint folder = list().viewport()->mapTo(m_view, list().visualRect(row(0)).center());
        const auto dropOn = [](QWidget *onto, QPoint place, const QMimeData &dropped) {
            const Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction;
            QDragEnterEvent enter(place, actions, &dropped, Qt::LeftButton, {});
            QCoreApplication::sendEvent(onto, &enter);
            // With Shift held a move is proposed, after which the source deletes the file.
            QDropEvent event(place, actions, &dropped, Qt::LeftButton, Qt::ShiftModifier);
            QCoreApplication::sendEvent(onto, &event);
            return event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
        };
        const auto drop = [&](const QMimeData &dropped) { return dropOn(m_view, folder, dropped); };
        const QString path = m_fixture->folder.filePath(u"n.py"_s);
        put(path, "x");
        QMimeData urls;
        urls.setUrls({QUrl::fromLocalFile(path)});
        QCOMPARE(drop(urls), Qt::CopyAction);
        QTRY_VERIFY(m_programs.join(u' ').contains(u"open('/lib/n.py','wb')"));
        QTRY_VERIFY(isIdle() && list().isVisible());
        const int connection = m_fixture->state().link().connectionNumber();
        QCOMPARE(drop(*BoardPathsMime::make({u"/main.py"_s}, connection)), Qt::MoveAction);
        QTRY_VERIFY(m_programs.join(u' ').contains(u"os.rename('/main.py','/lib/main.py')"));
        QCOMPARE(drop(*BoardPathsMime::make({u"/lib"_s}, connection)),
                 Qt::IgnoreAction); // into itself
        QCOMPARE(drop(*BoardPathsMime::make({u"/main.py"_s}, connection - 1)), Qt::IgnoreAction);
        QCOMPARE(dropOn(m_fixture->find<QWidget>("cpu"), {5, 5}, urls), Qt::CopyAction);
        QTRY_VERIFY(isIdle());
        // Holding a drag over a tab selects it.
        const auto dragged = BoardPathsMime::make({u"/lib"_s}, connection);
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, dragged.get(), Qt::LeftButton, {});
        QDragLeaveEvent leave;
        auto *tab = m_fixture->find<QWidget>("laptopcomputer");
        QCoreApplication::sendEvent(tab, &enter);
        QCoreApplication::sendEvent(tab, &leave);
        QTest::qWait(600);
        QCOMPARE(m_fixture->state().sidebarTab(), AppState::SidebarTab::Device);
        QCoreApplication::sendEvent(tab, &enter);
        QTRY_COMPARE(m_fixture->state().sidebarTab(), AppState::SidebarTab::Local);
    }

    void savesBeforeItRuns()
    {
        connectBoard();
        pick(3, u"&Open in Editor"_s);
        OpenFiles &documents = m_fixture->state().documents();
        QTRY_COMPARE(documents.selectedFile()->devicePath(), u"/main.py"_s);
        documents.updateSelectedContent(u"x = 1\n"_s);
        m_fixture->press(Qt::Key_S, Qt::ControlModifier);
        m_fixture->press(Qt::Key_R, Qt::ControlModifier);
        QTRY_VERIFY(m_fixture->lines().contains(u"info: ▶ Sent to device."_s));
        QVERIFY(m_fixture->lines().contains(u"info: Saved main.py to device."_s));
        QVERIFY(!files().isLoadingDeviceFiles()); // whose link the program would have taken
    }

    void showsTransfersInProgress()
    {
        auto *send = m_view->findChild<QToolButton *>(u"sendCurrentFile"_s);
        auto *toolbarSend = m_fixture->find<QToolButton>("arrow.up.doc");
        QCOMPARE(send->toolTip(), u"Send untitled.py to device"_s);
        QCOMPARE(toolbarSend->toolTip(), u"Connect a device to send files"_s);
        auto *transfer = m_fixture->find<QWidget>("transfer");
        QVERIFY(!transfer->isVisible());
        connectBoard();
        QCOMPARE(toolbarSend->toolTip(), u"Send untitled.py to device (Ctrl+U)"_s);
        m_fixture->state().documents().openTextInEditor(u"<b>&⌘S.py"_s, u"x"_s);
        QCOMPARE(send->toolTip(), u"<p>Send &lt;b&gt;&amp;⌘S.py to device</p>"_s);
        QCOMPARE(send->accessibleName(), u"Send <b>&⌘S.py to device"_s);
        QVERIFY(awaited(m_fixture->state().link().boardIdentity())); // which sending asks for
        m_board->setMute(true); // so that the transfer does not end at once
        m_fixture->press(Qt::Key_U, Qt::ControlModifier);
        QTRY_VERIFY(transfer->isVisible());
        QCOMPARE(m_fixture->find<ElidedLabel>("transferStatus")->text(), u"Sending <b>&⌘S.py…"_s);
        QVERIFY(toolbarSend->icon().isNull());
        m_board->setMute(false); // it receives one of the next attempts
        QTRY_VERIFY(!transfer->isVisible());
        QVERIFY(!toolbarSend->icon().isNull());
        QVERIFY(m_fixture->lines().contains(u"info: ↑ Sent <b>&⌘S.py to device as /<b>&⌘S.py."_s));

        for (const bool hasEnded : {false, true}) { // when the question is answered
            auto ending = std::make_unique<TransferStatus::Running>(m_fixture->state().transfer());
            ending->setTotal(1);
            m_fixture->prompts.meanwhile = [&] {
                m_fixture->state().link().disconnectDevice();
                connectBoard();
                ending.reset(hasEnded ? nullptr : ending.release());
            };
            m_fixture->press(Qt::Key_R, Qt::ControlModifier);
            ending.reset();
            QCoreApplication::processEvents();
            QVERIFY(!m_fixture->state().programRun().isEntering()); // on another connection
        }
        m_fixture->prompts.meanwhile = [] {};

        TransferStatus::Running running(m_fixture->state().transfer());
        auto *cancel = m_fixture->find<QToolButton>("cancelTransfer");
        QVERIFY(transfer->isVisible() && !cancel->isVisible());
        running.setTotal(1);
        QVERIFY(cancel->isVisible());
        m_fixture->prompts.confirmation.confirmed = false;
        m_fixture->press(Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(m_fixture->prompts.takeAsked().section(u'|', 0, 0),
                 u"Stop the transfer and run the program? "_s);
        m_fixture->press(Qt::Key_Escape); // in the editor
        QVERIFY(running.isCanceled() && !cancel->isVisible());

        TransferStatus::Running next(m_fixture->state().transfer());
        next.setTotal(1);
        OpenFiles &documents = m_fixture->state().documents();
        const QUuid document = documents.selectedFileID();
        m_fixture->prompts.confirmation.confirmed = true;
        m_fixture->prompts.meanwhile = [&] { documents.newFile(); }; // as the assistant may
        m_fixture->press(Qt::Key_R, Qt::ControlModifier);
        QTRY_VERIFY(next.isCanceled() && documents.selectedFileID() != document);
        QTRY_COMPARE(documents.selectedFileID(), document); // whose program is run
    }
};

QTEST_MAIN(tst_DeviceFileBrowserView)
#include "tst_DeviceFileBrowserView.moc"
