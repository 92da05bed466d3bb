#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <shared_mutex>
#include <span>
#include <string>
#include <type_traits>
#include <unordered_map>

namespace vimra::core {

/// One text of a message enumeration.
struct MessageEntry {
    unsigned value;
    const char* text;
};

/// Everything the framework needs to know about a message enumeration: the
/// domain whose manager holds its texts, its fully qualified type name (the key
/// of its texts in that manager) and its texts.
///
/// An enumeration makes itself known through an overload, found by
/// argument-dependent lookup, of
///     const vimra::core::MessageMapInfo& getMessageMapInfo(Enum);
/// where Enum is the enumeration type (for the `struct eX { enum domain {...}; }`
/// form, the nested `domain`). The argument only selects the overload.
struct MessageMapInfo {
    const char* domain;
    const char* enumTypeName;
    std::span<const MessageEntry> entries;
};

/// The enumeration type that identifies messages of E: E itself when it is an
/// enumeration, E::domain for the struct-wrapped form.
template <class E>
struct MessageIdOf {
    using type = E;
};
template <class E>
requires requires {
    typename E::domain;
}
struct MessageIdOf<E> {
    using type = typename E::domain;
};
template <class E>
using MessageIdOf_t = typename MessageIdOf<E>::type;

/// The description of E's message map (E: an enumeration or its wrapping struct).
template <class E>
const MessageMapInfo& messageMapOf() {
    using Id = MessageIdOf_t<E>;
    static_assert(std::is_enum_v<Id>,
                  "a message enumeration must be an enum or wrap one as ::domain");
    return getMessageMapInfo(Id{});
}

/// The texts of one message domain, keyed by enumeration type name and value.
///
/// There is one manager per domain in the process (getInstance). Enumerations
/// register their maps at library load (addMap); afterwards the maps are only
/// read, except that an application may replace single texts with add() (a
/// translated table). All members may be called from any thread.
class MessageManager {
  public:
    /// The manager of `domain`, created on first use and kept for the life of
    /// the process (it stays valid while other static objects are destroyed).
    static MessageManager& getInstance(const std::string& domain);

    MessageManager(const MessageManager&) = delete;
    MessageManager& operator=(const MessageManager&) = delete;

    const std::string& getDomain() const { return m_domain; }

    /// Adds the text of one message, replacing a text already held for it.
    /// Throws BaseException, and keeps the text held so far, when `text` is not
    /// a valid message text (see checkMessageText: only %s and %% are
    /// placeholders).
    void add(const std::string& enumTypeName, unsigned value, const std::string& text);

    /// Registers a whole enumeration. Only the first registration of an
    /// enumeration type name does anything (returns true); texts already set
    /// with add() are kept, so a translation loaded early is not overwritten.
    /// A map with an invalid text is refused as a whole: BaseException naming
    /// the message, nothing registered.
    bool addMap(const MessageMapInfo& map);
    bool isMapRegistered(const std::string& enumTypeName) const;

    /// The text of a message, or nothing when it is not registered.
    std::optional<std::string> findText(const std::string& enumTypeName, unsigned value) const;
    /// The text of a message; throws BaseException naming the domain, the
    /// enumeration and the value when it is not registered.
    std::string getText(const std::string& enumTypeName, unsigned value) const;
    /// Number of texts held for an enumeration.
    std::size_t getMessageCount(const std::string& enumTypeName) const;

  private:
    explicit MessageManager(std::string domain) : m_domain(std::move(domain)) {}

    const std::string m_domain;
    mutable std::shared_mutex m_mutex;
    std::unordered_map<std::string, std::map<unsigned, std::string>> m_texts;
    std::set<std::string> m_registeredMaps;
};

/// The manager of `map`'s domain after registering `map` there. A refused map
/// is logged at ERROR on "vimra.core" instead of thrown: registration runs
/// while libraries are loaded.
MessageManager& registerMessageMap(const MessageMapInfo& map);

/// The manager of E's domain, with E's map registered (registration happens at
/// most once per process; later calls only look it up).
template <class E>
MessageManager& registeredMessageManager() {
    static MessageManager& manager = registerMessageMap(messageMapOf<E>());
    return manager;
}

}  // namespace vimra::core
