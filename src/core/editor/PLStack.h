#pragma once

#include <deque>
#include <optional>

// A last-in-first-out list without a size limit. The top is the first element of items().
template<class T>
class PLStack
{
public:
    void pushItem(T item) { m_stack.push_front(std::move(item)); }

    // The top item, taken off the stack; nothing when the stack is empty.
    std::optional<T> popItem()
    {
        if (m_stack.empty())
            return std::nullopt;
        std::optional<T> item(std::move(m_stack.front()));
        m_stack.pop_front();
        return item;
    }

    void clearStack() { m_stack.clear(); }
    bool isEmpty() const { return m_stack.empty(); }
    const std::deque<T> &items() const { return m_stack; }

private:
    std::deque<T> m_stack;
};
