#pragma once

#include <vimra/core/BaseException.h>

namespace vimra::processor {

/// Raised by the processing framework: misuse of a processor (accessors before
/// init, unknown attributes) and failed synchronous runs.
class VIMRABaseProcessingException : public core::BaseException {
public:
    using core::BaseException::BaseException;
};

}  // namespace vimra::processor
