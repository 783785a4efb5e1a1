#include "PLNotificationCenter.h"

#include "PLLogging.h"

#include <algorithm>

PLNotificationCenter &PLNotificationCenter::defaultCenter()
{
    // Never destroyed: objects that live until the process exits (the pool's files and their
    // highlighters) still leave the centre as they go.
    static auto *center = new PLNotificationCenter;
    return *center;
}

void PLNotificationCenter::addObserver(const void *observer, const QString &name, const void *sender, Handler handler)
{
    auto registration = std::make_shared<Registration>(
        Registration{observer, name, sender, std::move(handler), std::make_shared<bool>(true)});
    std::lock_guard lock(m_mutex);
    m_registrations.push_back(std::move(registration));
}

void PLNotificationCenter::removeObserver(const void *observer)
{
    removeObserver(observer, QString(), nullptr);
}

void PLNotificationCenter::removeObserver(const void *observer, const QString &name, const void *sender)
{
    std::lock_guard lock(m_mutex);
    auto matches = [&](const std::shared_ptr<Registration> &r) {
        const bool hit = r->observer == observer && (name.isEmpty() || r->name == name)
            && (!sender || r->sender == sender);
        if (hit)
            *r->alive = false;
        return hit;
    };
    m_registrations.erase(std::remove_if(m_registrations.begin(), m_registrations.end(), matches),
                          m_registrations.end());
}

void PLNotificationCenter::post(const PLNotification &notification)
{
    // Deliver from a snapshot so that observers may add or remove registrations, or post, while
    // being called; the alive flag keeps a registration removed meanwhile from being called.
    std::vector<std::shared_ptr<Registration>> targets;
    {
        std::lock_guard lock(m_mutex);
        for (const auto &r : m_registrations) {
            if ((r->name.isEmpty() || r->name == notification.name())
                && (!r->sender || r->sender == notification.object()))
                targets.push_back(r);
        }
    }
    qCDebug(lcNotifications) << "post" << notification.name() << "to" << targets.size() << "observers";
    for (const auto &r : targets) {
        bool alive;
        {
            std::lock_guard lock(m_mutex);
            alive = *r->alive;
        }
        if (alive)
            r->handler(notification);
    }
}

int PLNotificationCenter::observerCount() const
{
    std::lock_guard lock(m_mutex);
    return int(m_registrations.size());
}
