// A temporary folder for local files, removed with everything in it when the object goes.
#ifndef PLX_TEST_TEMP_DIR_H
#define PLX_TEST_TEMP_DIR_H

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace plxtest {

class TempDir {
public:
    TempDir()
    {
        char pattern[] = "/tmp/plx_test_XXXXXX";
        m_path = mkdtemp(pattern) ? pattern : "/tmp";
    }
    ~TempDir()
    {
        std::string command = "rm -rf '" + m_path + "'";
        if (m_path != "/tmp" && std::system(command.c_str()) != 0) {
            // nothing more to do: a leftover folder in /tmp is harmless
        }
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

inline void Write(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string Read(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

inline bool FileExists(const std::string& path) { return std::ifstream(path).good(); }

// Repeatable random bytes.
inline std::string RandomBytes(size_t size, unsigned int seed = 7)
{
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(random() & 0xFF);
    }
    return bytes;
}

} // namespace plxtest

#endif // PLX_TEST_TEMP_DIR_H
