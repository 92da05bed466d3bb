#pragma once

#include <vimra/core/BaseException.h>

namespace vimra::imaproc::arithm {

/// The library's own exception type. Its message is a formatted message of one of
/// the library's message enumerations; what() is the framework's.
class VIMRAIPLArithmeticException : public core::BaseException {
  public:
    using core::BaseException::BaseException;
};

}  // namespace vimra::imaproc::arithm
