// The size lines of rkcore info: the Get-Info texts of an item's size object,
// with a progress line while a folder is walked and Ctrl-C stopping the walk.

#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBFileSystemObjectSize.h>

#include <atomic>
#include <csignal>
#include <cstdio>

#include <unistd.h>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

// The object whose walk Ctrl-C cancels. The handler only makes an atomic
// store through it, which is safe in a signal handler.
std::atomic<rk::RBFileSystemObject *> walkedObject{nullptr};
static_assert(std::atomic<rk::RBFileSystemObject *>::is_always_lock_free);

extern "C" void cancelWalk(int /*signal*/)
{
    rk::RBFileSystemObject *object = walkedObject.load();
    if (object != nullptr) object->cancelFolderSizeCalulation();
}

// Installs the Ctrl-C handler for the life of the walk.
class InterruptCancelsWalk final {
public:
    explicit InterruptCancelsWalk(rk::RBFileSystemObject &object)
    {
        walkedObject.store(&object);
        struct sigaction action {};
        action.sa_handler = cancelWalk;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previous_);
    }
    ~InterruptCancelsWalk()
    {
        sigaction(SIGINT, &previous_, nullptr);
        walkedObject.store(nullptr);
    }
    InterruptCancelsWalk(const InterruptCancelsWalk &) = delete;
    InterruptCancelsWalk &operator=(const InterruptCancelsWalk &) = delete;

private:
    struct sigaction previous_ {};
};

void printProgress(const rk::RBFolderSizeProgress &progress)
{
    (void)std::fprintf(stderr, "\r\033[Kwalking: %llu items, %s bytes", static_cast<unsigned long long>(progress.items),
                       qPrintable(rk::RBFileSystemObjectSize::_commaDelimitedSize(progress.bytes)));
    (void)std::fflush(stderr);
}

void printWalkExtras(const rk::RBFolderWalkExtras &extras)
{
    printField(QStringLiteral("on disk (du)"),
               QStringLiteral("%1 bytes, hard links counted once; apparent %2 bytes")
                   .arg(rk::RBFileSystemObjectSize::_commaDelimitedSize(extras.diskUsage),
                        rk::RBFileSystemObjectSize::_commaDelimitedSize(extras.apparentSize)));
    if (extras.unreadableFolders > 0)
        printField(QStringLiteral("not entered"), QStringLiteral("%1 folders").arg(extras.unreadableFolders));
    for (const QString &mount : extras.skippedMounts)
        printField(QStringLiteral("skipped mount"), mount);
    if (extras.cancelled) printField(QStringLiteral("size"), QStringLiteral("partial (interrupted)"));
}

} // namespace

void printSizeLines(rk::RBFileSystemObject &object)
{
    std::shared_ptr<rk::RBFileSystemObjectSize> size;
    {
        rk::RBFolderSizeWalkOptions options;
        if (isatty(STDERR_FILENO) != 0) options.progress = printProgress;
        const InterruptCancelsWalk interrupt(object);
        size = object.sizeObject(options);
        if (options.progress) (void)std::fputs("\r\033[K", stderr);
    }
    if (!size) {
        printField(QStringLiteral("size"), QStringLiteral("not available"));
        return;
    }
    const auto &extras = size->walkExtras();
    const QString partial = extras && extras->cancelled ? QStringLiteral(" (partial)") : QString();
    if (object.isVolume()) {
        printField(QStringLiteral("capacity"), size->capacityGetInfoString());
        printField(QStringLiteral("available"), size->availableGetInfoString());
        printField(QStringLiteral("used"), size->usedGetInfoString());
        return;
    }
    printField(QStringLiteral("size"), object.totalSizeFormattedAsString() + partial);
    printField(QStringLiteral("data"), size->dataGetInfoString() + partial);
    printField(QStringLiteral("resource"), size->resourceGetInfoString() + partial);
    printField(QStringLiteral("total"), size->totalSizeGetInfoString() + partial);
    if (extras) {
        printField(QStringLiteral("contains"), size->containsGetInfo() + partial);
        printWalkExtras(*extras);
    }
}

} // namespace rkcli
