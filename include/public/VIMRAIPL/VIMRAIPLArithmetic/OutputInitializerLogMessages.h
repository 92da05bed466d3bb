#pragma once

namespace vimra::core {
struct MessageMapInfo;
}

namespace vimra::imaproc::arithm {

/// Failures of the library's own output initialisation (formula images).
struct eOutputInitializerMessage {
    enum domain : unsigned {
        eAttributeExpired = 0,            ///< no argument
        eInvalidFormula = 1,              ///< formula, reason (two lines)
        eFormulaWithoutInputImage = 2,    ///< formula
        eNullInputAttribute = 3,          ///< no argument
        eEnumerateValueNotSupported = 4,  ///< the value
    };
    static constexpr unsigned s_count = 5;
};

/// The map of eOutputInitializerMessage (domain "VIMRAIPLArithmetic").
const core::MessageMapInfo& getMessageMapInfo(eOutputInitializerMessage::domain);

}  // namespace vimra::imaproc::arithm
