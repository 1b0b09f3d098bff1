#include "RuntimeDirectory.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace bench {

RuntimeDirectory::RuntimeDirectory() {
    std::error_code error;
    m_path = (std::filesystem::temp_directory_path(error) / "zidbench.XXXXXX").string();
    if (::mkdtemp(m_path.data()) == nullptr) m_path.clear();
}

RuntimeDirectory::~RuntimeDirectory() {
    std::error_code error;
    if (!m_path.empty()) std::filesystem::remove_all(m_path, error);
}

}  // namespace bench
