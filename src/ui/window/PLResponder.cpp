#include "ui/window/PLResponder.h"

#include <QSet>

namespace {
QSet<PLResponder *> &liveResponders()
{
    static QSet<PLResponder *> responders;
    return responders;
}
}

PLResponder::PLResponder()
{
    liveResponders().insert(this);
}

PLResponder::~PLResponder()
{
    liveResponders().remove(this);
    // Whoever pointed at us now points past us: the chain stays whole without a dangling link.
    PLResponder *next = m_nextResponder == this ? nullptr : m_nextResponder;
    for (PLResponder *responder : std::as_const(liveResponders())) {
        if (responder->m_nextResponder == this)
            responder->m_nextResponder = next;
    }
}

bool PLResponder::respondsToAction(PLAction action) const
{
    return m_handlers.find(action) != m_handlers.end();
}

bool PLResponder::tryToPerform(PLAction action, QAction *sender)
{
    const auto found = m_handlers.find(action);
    if (found == m_handlers.end() || !validateMenuItem(action, sender))
        return false;
    // The handler may destroy this responder (closing a pane): run a copy so it outlives that.
    const Perform perform = found->second.perform;
    perform(sender);
    return true;
}

bool PLResponder::validateMenuItem(PLAction action, QAction *item) const
{
    const auto found = m_handlers.find(action);
    if (found == m_handlers.end())
        return false;
    return !found->second.validate || found->second.validate(item);
}

void PLResponder::setActionHandler(PLAction action, Perform perform, Validate validate)
{
    m_handlers[action] = Handler{std::move(perform), std::move(validate)};
}
