#include "shell/Message.h"

#include "ipl/iostream.h"

namespace util::shell {

void tell(const ipl::string& text) {
    ipl::cout << text + '\n' << std::flush;
}

}  // namespace util::shell
