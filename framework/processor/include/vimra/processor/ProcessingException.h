#pragma once

#include <vimra/core/BaseException.h>

namespace vimra::processor {

/// Raised by the processing framework: misuse of a processor (accessors before
/// init, unknown attributes) and failed synchronous runs.
class VIMRABaseProcessingException : public core::BaseException {
public:
    using core::BaseException::BaseException;
};

/// Raised by the framework's image descriptions (custom output descriptions
/// queried before they are initialised).
class VIMRAImageProcessingException : public core::BaseException {
public:
    using core::BaseException::BaseException;
};

}  // namespace vimra::processor
