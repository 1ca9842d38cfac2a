#include <rkcore/RKProcess.h>

#include "../platform/ProcessTable_p.h"
#include "../platform/X11Windows_p.h"

#include <limits>
#include <map>

#include <unistd.h>

namespace rk {

namespace {

struct ProcessTable {
    std::map<QString, std::shared_ptr<RKProcess>> allProcesses;
    ProcessSerialNumber seekProcess{0, 0};
    ProcessSerialNumber thisProcess{0, static_cast<uint32_t>(getpid())};
};

ProcessTable &table()
{
    // Never destroyed: objects in the cache may still be in use while
    // statics go away at exit.
    static auto *instance = new ProcessTable;
    return *instance;
}

// The main thread's connection to the window manager; opened on first use and
// again after it broke. Null without a display.
platform::X11Windows *windows()
{
    static std::unique_ptr<platform::X11Windows> *connection = new std::unique_ptr<platform::X11Windows>;
    if (!*connection || !(*connection)->usable()) *connection = platform::X11Windows::open();
    return connection->get();
}

std::optional<pid_t> pidOf(const ProcessSerialNumber &psn)
{
    if (psn.highLongOfPSN != 0 || psn.lowLongOfPSN == 0 ||
        psn.lowLongOfPSN > static_cast<uint32_t>(std::numeric_limits<pid_t>::max()))
        return std::nullopt;
    return static_cast<pid_t>(psn.lowLongOfPSN);
}

// The Process Manager's GetNextProcess: the next running process after the
// cursor; at the end (or on any error) the cursor goes back to {0, 0}.
bool advanceToNextProcess(ProcessSerialNumber &cursor)
{
    const bool atStart = cursor == ProcessSerialNumber{0, 0};
    const auto current = pidOf(cursor);
    if (!atStart && !current) {
        cursor = {0, 0};
        return false;
    }
    const auto next = platform::nextProcessId(atStart ? 0 : *current);
    if (!next) {
        cursor = {0, 0};
        return false;
    }
    cursor = {0, static_cast<uint32_t>(*next)};
    return true;
}

// The process's managed windows on `connection` (which callers got once from
// windows(): asking again could replace it).
std::vector<uint32_t> windowsOf(platform::X11Windows *connection, const ProcessSerialNumber &psn)
{
    const auto pid = pidOf(psn);
    if (connection == nullptr || !pid) return {};
    return connection->windowsOfProcess(*pid);
}

} // namespace

RKProcess::RKProcess(Tag, QString processName, const ProcessSerialNumber &serial, bool backgroundOnly,
                     uint64_t startTime)
    : name(std::move(processName)), m_psn(std::make_unique<ProcessSerialNumber>(serial)), BGOnly(backgroundOnly),
      m_startTime(startTime)
{
}

RKProcess::~RKProcess() = default;

QString RKProcess::keyForPSN(const ProcessSerialNumber &psn)
{
    return QStringLiteral("%1-%2")
        .arg(static_cast<int32_t>(psn.highLongOfPSN))
        .arg(static_cast<int32_t>(psn.lowLongOfPSN));
}

ProcessSerialNumber RKProcess::seekProcess()
{
    return table().seekProcess;
}

ProcessSerialNumber RKProcess::thisProcess()
{
    return table().thisProcess;
}

std::shared_ptr<RKProcess> RKProcess::initWithPSN(const ProcessSerialNumber &psn)
{
    const auto pid = pidOf(psn);
    if (!pid) return nullptr;
    const auto started = platform::processStartTime(*pid);
    if (!started) return nullptr;
    auto processName = platform::processName(*pid);
    if (!processName) return nullptr;
    // The cursor, not `psn`: see the header.
    const bool background = windowsOf(windows(), psn).empty() || table().seekProcess == table().thisProcess;
    return std::make_shared<RKProcess>(Tag{}, std::move(*processName), psn, background, *started);
}

std::shared_ptr<RKProcess> RKProcess::getNextProcess()
{
    ProcessTable &state = table();
    // A process that ends between the step and the read is passed over, so
    // a process ending during a walk never cuts the walk short.
    while (advanceToNextProcess(state.seekProcess)) {
        const QString key = keyForPSN(state.seekProcess);
        if (const auto found = state.allProcesses.find(key); found != state.allProcesses.end()) {
            if (found->second->validate()) return found->second;
            // Its process ended (the pid may have gone to a new one): validate() retired it.
        }
        if (auto process = initWithPSN(state.seekProcess)) {
            state.allProcesses.emplace(key, process);
            return process;
        }
    }
    return nullptr;
}

std::shared_ptr<RKProcess> RKProcess::processForPSN(const ProcessSerialNumber &psn)
{
    if (auto cached = cachedProcessForKey(keyForPSN(psn))) return cached;
    return initWithPSN(psn);
}

std::shared_ptr<RKProcess> RKProcess::cachedProcessForKey(const QString &key)
{
    const auto &cache = table().allProcesses;
    const auto found = cache.find(key);
    return found != cache.end() ? found->second : nullptr;
}

QList<std::shared_ptr<RKProcess>> RKProcess::processEnumerator()
{
    QList<std::shared_ptr<RKProcess>> snapshot;
    for (const auto &entry : table().allProcesses)
        snapshot.append(entry.second);
    return snapshot;
}

void RKProcess::doGarbageCollection()
{
    // validate() removes entries: walk a snapshot, never the cache itself.
    for (const auto &process : processEnumerator())
        process->validate();
}

void RKProcess::retire()
{
    auto &cache = table().allProcesses;
    const auto found = cache.find(keyForPSN(*m_psn));
    // Only this object's own entry: another object for the same serial number
    // (from processForPSN) must not remove the cached one.
    if (found != cache.end() && found->second.get() == this) cache.erase(found);
}

bool RKProcess::validate()
{
    const auto pid = pidOf(*m_psn);
    if (pid && platform::processStartTime(*pid) == m_startTime) return true;
    retire();
    return false;
}

void RKProcess::show()
{
    platform::X11Windows *connection = windows();
    if (connection == nullptr) return;
    for (const uint32_t window : windowsOf(connection, *m_psn))
        connection->deiconify(window);
    connection->sync();
}

void RKProcess::hide()
{
    platform::X11Windows *connection = windows();
    if (connection == nullptr) return;
    for (const uint32_t window : windowsOf(connection, *m_psn))
        connection->iconify(window);
    connection->sync();
}

void RKProcess::focus()
{
    platform::X11Windows *connection = windows();
    if (connection == nullptr) return;
    const auto owned = windowsOf(connection, *m_psn);
    if (owned.empty()) return;
    connection->activate(owned.front());
    connection->sync();
}

bool RKProcess::isFrontProcess() const
{
    platform::X11Windows *connection = windows();
    if (connection == nullptr) return false;
    const auto active = connection->activeWindow();
    if (!active) return false;
    const auto owner = connection->processOfWindow(*active);
    return owner && pidOf(*m_psn) == owner;
}

bool RKProcess::isForeground() const
{
    if (BGOnly) return false;
    platform::X11Windows *connection = windows();
    if (connection == nullptr) return false;
    for (const uint32_t window : windowsOf(connection, *m_psn)) {
        if (!connection->isHidden(window)) return true;
    }
    return false;
}

QString RKProcess::getName() const
{
    return name;
}

ProcessSerialNumber RKProcess::psn() const
{
    return *m_psn;
}

bool RKProcess::isBGOnly() const
{
    return BGOnly;
}

bool RKProcess::isFront() const
{
    return front;
}

void RKProcess::setFront(bool isFront)
{
    front = isFront;
}

bool RKProcess::isSticky() const
{
    return sticky;
}

int32_t RKProcess::space() const
{
    return m_space;
}

} // namespace rk
