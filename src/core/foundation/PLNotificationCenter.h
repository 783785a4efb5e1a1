#pragma once

#include <QHash>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

// One posted notification. The object is the sender, kept as an identity with its type, so an
// observer can filter on it and recover it when the type is the one it expects.
class PLNotification
{
public:
    PLNotification(QString name, const void *object, const std::type_info *objectType, QVariantMap userInfo)
        : m_name(std::move(name)), m_object(object), m_objectType(objectType), m_userInfo(std::move(userInfo))
    {
    }

    const QString &name() const { return m_name; }
    const void *object() const { return m_object; }
    const QVariantMap &userInfo() const { return m_userInfo; }
    // The C++ type the poster gave its object as; null when it posted no object.
    const std::type_info *objectType() const { return m_objectType; }

    template<class T>
    T *objectAs() const
    {
        if (!m_object || !m_objectType || *m_objectType != typeid(T))
            return nullptr;
        return const_cast<T *>(static_cast<const T *>(m_object));
    }

private:
    QString m_name;
    const void *m_object = nullptr;
    const std::type_info *m_objectType = nullptr;
    QVariantMap m_userInfo;
};

// The process-wide notification centre. Delivery is synchronous, on the posting thread, to the
// observers of the name (and of the sender, when they asked for one) in the order they registered.
// Registrations are indexed by observer and by name and sender, so that posting and removing cost
// the same however many objects observe: tearing down thousands of files stays linear.
class PLNotificationCenter
{
public:
    using Handler = std::function<void(const PLNotification &)>;

    static PLNotificationCenter &defaultCenter();

    PLNotificationCenter() = default;
    PLNotificationCenter(const PLNotificationCenter &) = delete;
    PLNotificationCenter &operator=(const PLNotificationCenter &) = delete;

    // An empty name observes every name; a null sender observes every sender.
    void addObserver(const void *observer, const QString &name, const void *sender, Handler handler);
    // Removes every registration of the observer, as a controller does when it closes.
    void removeObserver(const void *observer);
    // Removes the registrations of the observer that match name and sender (empty/null match all).
    void removeObserver(const void *observer, const QString &name, const void *sender = nullptr);

    void post(const PLNotification &notification);
    void post(const QString &name) { post(PLNotification(name, nullptr, nullptr, {})); }
    template<class T>
    void post(const QString &name, const T *object, const QVariantMap &userInfo = {})
    {
        post(PLNotification(name, object, object ? &typeid(T) : nullptr, userInfo));
    }

    // Whether a post of the name by the sender would reach an observer. A poster with a
    // notification for each of thousands of nodes skips building them when none would.
    bool isObserved(const QString &name, const void *sender) const;

    int observerCount() const;

private:
    struct Registration
    {
        quint64 order;
        const void *observer;
        QString name;
        const void *sender;
        Handler handler;
        bool alive = true;
    };
    using Key = std::pair<QString, const void *>;
    // By registration order, so that the few lists a post reads merge back into that order.
    using Ordered = std::map<quint64, std::shared_ptr<Registration>>;

    void unindex(const Registration &registration);
    // Calls the function with each list of registrations a post of the name by the sender reaches;
    // the caller holds the lock.
    template<class Function>
    void forEachReachedList(const QString &name, const void *sender, Function function) const;

    mutable std::mutex m_mutex;
    quint64 m_nextOrder = 0;
    int m_count = 0;
    QHash<Key, Ordered> m_byNameAndSender;
    std::unordered_map<const void *, std::vector<std::shared_ptr<Registration>>> m_byObserver;
};
