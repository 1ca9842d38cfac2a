#include <rkcore/NotificationCenter.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace rk {

namespace {

struct Registration {
    const void *observer = nullptr;
    QString name; // null: any
    const void *sender = nullptr;
    NotificationCenter::Callback callback;
    // Set under the centre's lock when removed; read without it by a post
    // that took its snapshot earlier, so that a removed observer is skipped.
    std::atomic<bool> removed{false};

    bool matches(const QString &postedName, const void *postedSender) const
    {
        return (name.isNull() || name == postedName) && (sender == nullptr || sender == postedSender);
    }
};

} // namespace

struct NotificationCenter::Private {
    mutable std::mutex mutex;
    std::vector<std::shared_ptr<Registration>> registrations;

    // Removes the registrations `select` picks; the lock must be held.
    template <typename Select> void removeWhere(Select select)
    {
        auto end = std::remove_if(registrations.begin(), registrations.end(),
                                  [&select](const std::shared_ptr<Registration> &entry) {
                                      if (!select(*entry)) return false;
                                      entry->removed.store(true, std::memory_order_release);
                                      return true;
                                  });
        registrations.erase(end, registrations.end());
    }
};

NotificationCenter &NotificationCenter::defaultCenter()
{
    // Never destroyed: observers may still post from static destructors.
    static auto *center = new NotificationCenter;
    return *center;
}

NotificationCenter::NotificationCenter() : d(std::make_unique<Private>()) {}

NotificationCenter::~NotificationCenter() = default;

void NotificationCenter::addObserver(const void *observer, const QString &name, const void *sender, Callback callback)
{
    if (!callback) return;
    auto entry = std::make_shared<Registration>();
    entry->observer = observer;
    entry->name = name;
    entry->sender = sender;
    entry->callback = std::move(callback);
    const std::lock_guard lock(d->mutex);
    d->registrations.push_back(std::move(entry));
}

void NotificationCenter::removeObserver(const void *observer)
{
    const std::lock_guard lock(d->mutex);
    d->removeWhere([observer](const Registration &entry) { return entry.observer == observer; });
}

void NotificationCenter::removeObserver(const void *observer, const QString &name, const void *sender)
{
    const std::lock_guard lock(d->mutex);
    d->removeWhere([&](const Registration &entry) {
        return entry.observer == observer && (name.isNull() || entry.name == name) &&
               (sender == nullptr || entry.sender == sender);
    });
}

void NotificationCenter::post(const QString &name, const void *sender, const QVariantMap &userInfo)
{
    std::vector<std::shared_ptr<Registration>> snapshot;
    {
        const std::lock_guard lock(d->mutex);
        for (const auto &entry : d->registrations) {
            if (entry->matches(name, sender)) snapshot.push_back(entry);
        }
    }
    const Notification notification{name, sender, userInfo};
    // The snapshot keeps each callback alive while it runs, even when it
    // removes itself.
    for (const auto &entry : snapshot) {
        if (entry->removed.load(std::memory_order_acquire)) continue;
        entry->callback(notification);
    }
}

int NotificationCenter::observerCount() const
{
    const std::lock_guard lock(d->mutex);
    return static_cast<int>(d->registrations.size());
}

} // namespace rk
