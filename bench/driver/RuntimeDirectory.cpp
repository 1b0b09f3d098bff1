#include "RuntimeDirectory.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace bench {

RuntimeDirectory::RuntimeDirectory() {
    std::error_code error;
    m_path = (std::filesystem::temp_directory_path(error) / "zidbench.XXXXXX").string();
    if (::mkdtemp(m_path.data()) == nullptr) m_path.clear();
    if (m_path.empty() || !std::filesystem::create_directory(m_path + "/comm", error)) return;
    std::ofstream(m_path + "/comm/" + DdsProcessName + ".toml")
        << "transport = \"dds\"\ninterface = \"lo\"\ndomain = " << ::getpid() % 200 << '\n';
}

RuntimeDirectory::~RuntimeDirectory() {
    std::error_code error;
    if (!m_path.empty()) std::filesystem::remove_all(m_path, error);
}

}  // namespace bench
