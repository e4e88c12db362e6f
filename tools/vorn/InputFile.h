#pragma once

#include <cstdint>
#include <istream>
#include <streambuf>
#include <string>

#include <sys/types.h>

namespace vorn
{
// A file the tool reads. Only regular files are read: a FIFO or a device can
// block, never end (/dev/zero) or change under a second read, and a directory
// is no data at all.
class CInputFile
{
public:
    // Opens `path` without waiting for a writer (an ordinary open of a FIFO
    // blocks until one comes) and refuses anything but a regular file. Every
    // failure is a CToolError naming the file.
    static CInputFile Open(const std::string& path);

    CInputFile(CInputFile&& other) noexcept;
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;
    ~CInputFile();

    const std::string& Path() const noexcept { return m_path; }
    int Descriptor() const noexcept { return m_descriptor; }
    // The size when it was opened.
    std::uint64_t Size() const noexcept { return m_size; }
    // True when `device` and `inode` name this file, whatever path led there.
    bool Is(dev_t device, ino_t inode) const noexcept { return m_device == device && m_inode == inode; }
    // Hands the descriptor to a new owner, who closes it.
    int Release() noexcept;

private:
    CInputFile(std::string path, int descriptor);

    std::string m_path;
    int m_descriptor = -1;
    std::uint64_t m_size = 0;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

// A file name for a message: quoted as input is (vorn::Quoted) but never cut,
// since the end of a long path is what tells files apart.
std::string QuotedName(const std::string& path);

// What a file of `mode` is, for messages: "a directory", "a FIFO", "a device".
const char* FileKind(mode_t mode);

// A regular file read as a stream. A read error (an I/O error of the disk, say)
// is a CToolError naming the file, thrown from the reading call.
class CInputStream : public std::istream
{
public:
    explicit CInputStream(const std::string& path);

private:
    class CBuffer : public std::streambuf
    {
    public:
        explicit CBuffer(const CInputFile& file) : m_file(file) {}

    protected:
        int_type underflow() override;

    private:
        const CInputFile& m_file;
        char m_bytes[1 << 16];
    };

    CInputFile m_file;
    CBuffer m_buffer;
};
} // namespace vorn
