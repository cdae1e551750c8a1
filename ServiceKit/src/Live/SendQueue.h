#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

namespace Zovi::ServiceKit
{

/// The bytes of a frame, shared by all to whom it goes.
using SharedFrame = std::shared_ptr<const std::string>;

/// What one WebSocket has still to send. Its length is bounded by its user: by not taking more requests while
/// there are many replies, and by the number of events, each of which stands here once.
class SendQueue
{
public:
    /// A reply, behind all that is here.
    void push(SharedFrame frame);

    /// The newest state of `event`. It takes the place of an older one that has not begun to go out.
    void pushState(const std::string& event, SharedFrame frame);

    /// The answer to a ping. It takes the place of an older one.
    void pushPong(SharedFrame frame);

    /// Drops the state of `event`, unless it has begun to go out.
    void dropState(const std::string& event);

    /// Drops all states but one that has begun to go out.
    void dropStates();

    /// Drops all but what has begun to go out.
    void dropAll();

    bool isEmpty() const { return m_items.empty(); }

    /// Whether a state of `event` waits that has not begun to go out.
    bool hasState(const std::string& event);

    /// How many bytes wait, with those of the first frame that have gone out.
    std::size_t bytes() const;

    /// How many replies wait.
    std::size_t replies() const { return m_replies; }

    /// What is to go out next; not empty if the queue is not.
    std::string_view front() const;

    /// So many bytes of `front()` have gone out. True if that was the end of a frame.
    bool advance(std::size_t count);

private:
    enum class Kind { REPLY, STATE, PONG };

    struct Item {
        Kind kind;
        std::string event; ///< of a state
        SharedFrame frame;
    };

    using Position = std::deque<Item>::iterator;

    Position firstUnsent();
    Position find(Kind kind, const std::string& event);
    void pushOrReplace(Item&& item);

    std::deque<Item> m_items;
    std::size_t m_sent = 0; ///< bytes of the first item
    std::size_t m_replies = 0;
};

} // namespace Zovi::ServiceKit
