#include "core/foundation/PLNotificationCenter.h"

#include "core/foundation/PLLogging.h"

#include <algorithm>
#include <iterator>

PLNotificationCenter &PLNotificationCenter::defaultCenter()
{
    // Never destroyed: objects that outlive main, such as pooled files, still unregister from it.
    static auto *center = new PLNotificationCenter;
    return *center;
}

void PLNotificationCenter::addObserver(const void *observer, const QString &name, const void *sender, Handler handler)
{
    std::lock_guard lock(m_mutex);
    auto registration = std::make_shared<Registration>(Registration{m_nextOrder++, observer, name, sender, std::move(handler)});
    m_byNameAndSender[Key(name, sender)].emplace(registration->order, registration);
    m_byObserver[observer].push_back(std::move(registration));
    ++m_count;
}

void PLNotificationCenter::removeObserver(const void *observer)
{
    removeObserver(observer, QString(), nullptr);
}

void PLNotificationCenter::removeObserver(const void *observer, const QString &name, const void *sender)
{
    std::lock_guard lock(m_mutex);
    const auto found = m_byObserver.find(observer);
    if (found == m_byObserver.end())
        return;
    std::vector<std::shared_ptr<Registration>> &registrations = found->second;
    const auto removed = std::remove_if(registrations.begin(), registrations.end(), [&](const std::shared_ptr<Registration> &r) {
        if ((!name.isEmpty() && r->name != name) || (sender && r->sender != sender))
            return false;
        r->alive = false;
        unindex(*r);
        return true;
    });
    m_count -= int(registrations.end() - removed);
    registrations.erase(removed, registrations.end());
    if (registrations.empty())
        m_byObserver.erase(found);
}

void PLNotificationCenter::unindex(const Registration &registration)
{
    const auto list = m_byNameAndSender.find(Key(registration.name, registration.sender));
    list->erase(registration.order);
    if (list->empty())
        m_byNameAndSender.erase(list);
}

template<class Function>
void PLNotificationCenter::forEachReachedList(const QString &name, const void *sender, Function function) const
{
    // The observers of this name or of every name, of this sender or of every sender; an empty
    // name or a null sender makes two of these keys one.
    const Key keys[] = {Key(name, sender), Key(name, nullptr), Key(QString(), sender), Key(QString(), nullptr)};
    for (size_t i = 0; i < std::size(keys); ++i) {
        if (std::find(keys, keys + i, keys[i]) != keys + i)
            continue;
        const auto list = m_byNameAndSender.constFind(keys[i]);
        if (list != m_byNameAndSender.cend())
            function(*list);
    }
}

bool PLNotificationCenter::isObserved(const QString &name, const void *sender) const
{
    std::lock_guard lock(m_mutex);
    bool observed = false;
    forEachReachedList(name, sender, [&](const Ordered &) { observed = true; });
    return observed;
}

void PLNotificationCenter::post(const PLNotification &notification)
{
    // Deliver from a snapshot so that observers may add or remove registrations, or post, while
    // being called; the alive flag keeps a registration removed meanwhile from being called.
    std::vector<std::shared_ptr<Registration>> targets;
    {
        std::lock_guard lock(m_mutex);
        forEachReachedList(notification.name(), notification.object(), [&](const Ordered &list) {
            for (const auto &entry : list)
                targets.push_back(entry.second);
        });
    }
    std::sort(targets.begin(), targets.end(), [](const auto &a, const auto &b) { return a->order < b->order; });
    qCDebug(lcNotifications) << "post" << notification.name() << "to" << targets.size() << "observers";
    for (const auto &r : targets) {
        bool alive;
        {
            std::lock_guard lock(m_mutex);
            alive = r->alive;
        }
        if (alive)
            r->handler(notification);
    }
}

int PLNotificationCenter::observerCount() const
{
    std::lock_guard lock(m_mutex);
    return m_count;
}
