#pragma once

namespace vimra::core {
struct MessageMapInfo;
}

namespace vimra::imaproc::arithm {

/// General messages of the library. Reserved: the map is registered empty.
struct eVIMRAIPLArithmeticMessage {
    enum domain : unsigned {};
    static constexpr unsigned s_count = 0;
};

/// The map of eVIMRAIPLArithmeticMessage (domain "VIMRAIPLArithmetic").
const core::MessageMapInfo& getMessageMapInfo(eVIMRAIPLArithmeticMessage::domain);

}  // namespace vimra::imaproc::arithm
