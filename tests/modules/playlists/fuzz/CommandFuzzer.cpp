// Fuzzes the decoding and handling of every command's argument record. An input is one selector
// byte (its value modulo 16 picks the command path, in routing order) followed by the request's
// value as JSON text; text that is not JSON is sent as a plain string. Each input runs against a
// fresh store on tmpfs holding two playlists and a collection. Besides the sanitizers, every input
// must leave its request answered and every playlist's numbering dense.
#include <QCoreApplication>
#include <QDir>
#include <cstdio>
#include <cstdlib>
#include <log4cplus/logger.h>
#include <memory>

#include "Collection.h"
#include "Controller.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayListTestSupport.h"

namespace {
const CMPath& commandPath(unsigned selector)
{
    static const CMPath paths[] = {
        KeloPlayListPlPrepareItemsPath(), KeloPlayListPlPlayPath(),        KeloPlayListPlCreatePath(),
        KeloPlayListPlClearPath(),        KeloPlayListPlSetNamePath(),     KeloPlayListPlSetShufflePath(),
        KeloPlayListPlSetRepeatPath(),    KeloPlayListPlDeletePath(),      KeloPlayListPlRemoveItemsPath(),
        KeloPlayListPlAddItemsPath(),     KeloPlayListPlAddExternalItemsPath(), KeloPlayListPlMoveItemspath(),
        KeloPlayListClCreatePath(),       KeloPlayListClAddItemPath(),     KeloPlayListClRemoveItemPath(),
        KeloPlayListClDeletePath(),       KeloPlayListClSetNamePath(),
    };
    return paths[selector % (sizeof(paths) / sizeof(paths[0]))];
}

struct Harness
{
    Harness()
    {
        static int argc = 1;
        static char name[] = "playlists_fuzz";
        static char* argv[] = {name, nullptr};
        app = std::make_unique<QCoreApplication>(argc, argv);
        KeloLog::configure();
        log4cplus::Logger::getRoot().setLogLevel(log4cplus::OFF_LOG_LEVEL);
        // The store opens its file relative to the working directory; libFuzzer's own paths are
        // relative to the one it was started in, so that one is restored at once.
        const QString started = QDir::currentPath();
        dir = std::make_unique<TempWorkDir>();
        if (!dir->isValid())
            std::abort();
        root = std::make_unique<CMRootWorker>();
        database = std::make_unique<Database>(200, false);
        QDir::setCurrent(started);
        storeFile = dir->path() + QStringLiteral("/data-rw/playlists/playlists.sqlite");
    }

    void seed()
    {
        database->clearDatabase();
        for (const char* name : {"One", "Two"}) {
            const PlayListRecord record = database->createPlayList(QString::fromLatin1(name));
            database->addItems(record, 2, pltest::tracks({"a", "b", "c"}));
        }
        const CollectionRecord collection = database->createCollection(QStringLiteral("Col"));
        database->addToCollection(collection, database->getPlayLists().value(0).uid);
    }

    std::unique_ptr<QCoreApplication> app;
    std::unique_ptr<TempWorkDir> dir;
    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<Database> database;
    QString storeFile;
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Harness harness;
    if (size == 0)
        return 0;
    harness.seed();
    const QByteArray text(reinterpret_cast<const char*>(data) + 1, int(size - 1));
    bool ok = false;
    QVariant value = KeloJson::normalize(KeloJson::parse(text, &ok));
    if (!ok)
        value = QString::fromUtf8(text);

    CMSetDataRequest request(commandPath(data[0]), value);
    {
        PlayListManager manager(harness.database.get());
        Controller controller(nullptr, &manager);
        if (!controller.handleSetData(request))
            std::abort();
        // Adds from browse paths finish through the event loop.
        for (int i = 0; i < 20 && !request.reply().isFinished(); ++i)
            QCoreApplication::processEvents();
    }
    if (!request.reply().isFinished()) {
        std::fprintf(stderr, "request left unanswered\n");
        std::abort();
    }
    if (!pltest::StoreReader(harness.storeFile).gaps().isEmpty()) {
        std::fprintf(stderr, "numbering has a gap\n");
        std::abort();
    }
    return 0;
}
