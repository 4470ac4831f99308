// The program's one exception of its own: raised when a COM or shell call fails
// (the network browser and the shell folders use it). Everything else reports
// errors through return values.
#pragma once

#include <stdexcept>

namespace tessaroven {

class exception_com : public std::runtime_error {
 public:
  exception_com() : std::runtime_error("COM error") {}
};

}  // namespace tessaroven
