#include "document/DocumentStore.h"
#include "document/DocumentWriter.h"
#include "document/PythonTextStorage.h"
#include "support/Awaited.h"
#include "support/ScriptedPrompts.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A store whose writes wait until letThrough() is called.
class SlowStore final : public DocumentStore
{
public:
    Async<std::optional<QByteArray>> read(DocumentPlace) override
    {
        if (failure)
            co_return Error(*failure);
        co_return std::optional(held); // co_return would move the member
    }
    Async<void> write(DocumentPlace, QString text, QString) override
    {
        co_await m_gates.emplace_back().wait();
        held = text.toUtf8();
        written << text;
        co_return Result<void>();
    }
    bool hasWaiting() const { return m_gates.size() > m_opened; }
    void letThrough() { std::next(m_gates.begin(), qsizetype(m_opened++))->deliver(true); }

    std::optional<QByteArray> held;
    std::optional<Error> failure; // of reading
    QStringList written;

private:
    std::list<OneShot<bool>> m_gates;
    std::size_t m_opened = 0;
};

struct WriterFixture
{
    SlowStore store;
    ScriptedPrompts prompts;
    DocumentPlace place = DocumentPlace::local(u"/home/me/f.py"_s);
    EditorFile file{u"f.py"_s, place, DocumentText{u"v0"_s}};
    DocumentWriter writer{store, store, prompts};

    auto save(const QString &text)
    {
        file.setContent(text);
        return writer.write(&file, place, DocumentWriter::Check::AskBeforeReplacing);
    }
};

} // namespace

class tst_DocumentWriter final : public QObject
{
    Q_OBJECT

private slots:
    void writesInOrderAndTheNewestTextLast()
    {
        WriterFixture fixture;
        const auto first = fixture.save(u"v1"_s);
        QTRY_VERIFY(fixture.store.hasWaiting());
        auto second = fixture.save(u"v2"_s);
        const auto third = fixture.save(u"v3"_s);
        const auto end = fixture.writer.finished();
        QCOMPARE(*awaited(std::move(second)), DocumentWriter::Outcome::Superseded);
        fixture.store.letThrough();
        QTRY_VERIFY(first.isReady() && fixture.store.hasWaiting());
        QVERIFY2(fixture.file.isModified(), "the file holds v1, the document v3");
        QVERIFY(!third.isReady() && !end.isReady());
        fixture.store.letThrough();
        QTRY_VERIFY(third.isReady() && end.isReady());
        QCOMPARE(fixture.store.written, (QStringList{u"v1"_s, u"v3"_s}));
        QVERIFY(!fixture.file.isModified() && !fixture.writer.isWriting());
    }

    void asksBeforeAChangedFileIsReplaced()
    {
        // Null bytes: there is no file. Null choice: no question is expected.
        for (const auto &[held, choice, outcome] :
             {std::tuple("v0"_ba, QString(), u"written"_s), // as it was left
              {"v1", {}, u"written"_s},                     // as it will be
              {{}, {}, u"written"_s},
              {"theirs", u"Replace"_s, u"written"_s},
              {"theirs", u"Save As…"_s, u"save as"_s},
              {"theirs", u"Cancel"_s, u"Save cancelled — /home/me/f.py is unchanged."_s}}) {
            WriterFixture fixture;
            if (!held.isNull())
                fixture.store.held = held;
            fixture.prompts.choice = choice;
            auto saving = fixture.save(u"v1"_s);
            QTRY_VERIFY(saving.isReady() || fixture.store.hasWaiting());
            if (fixture.store.hasWaiting())
                fixture.store.letThrough();
            const auto result = awaited(std::move(saving));
            QCOMPARE(fixture.prompts.asked.size(), choice.isNull() ? 0 : 1);
            if (!result)
                QCOMPARE(result.error().message, outcome);
            else
                QCOMPARE(*result == DocumentWriter::Outcome::Written ? u"written"_s : u"save as"_s,
                         outcome);
            const bool isWritten = outcome == u"written";
            QCOMPARE(fixture.file.isModified(), !isWritten);
            QCOMPARE(fixture.store.held, isWritten ? "v1"_ba : "theirs"_ba);
        }
    }

    void replacesNoFileThatCouldNotBeRead()
    {
        for (const auto code : {ErrorCode::Damaged, ErrorCode::Canceled, ErrorCode::NoRawREPL}) {
            WriterFixture fixture;
            fixture.store.failure = Error{code, u"why"_s};
            fixture.prompts.choice = u"Cancel"_s;
            const auto result = awaited(fixture.save(u"v1"_s));
            QCOMPARE(result.error().code,
                     code == ErrorCode::NoRawREPL ? code : ErrorCode::Canceled);
            QCOMPARE(fixture.prompts.asked.size(), code == ErrorCode::Damaged ? 1 : 0);
            QVERIFY(!fixture.store.hasWaiting());
        }
    }
};

QTEST_GUILESS_MAIN(tst_DocumentWriter)
#include "tst_DocumentWriter.moc"
