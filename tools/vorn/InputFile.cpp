#include "InputFile.h"

#include "Quote.h"
#include "ToolError.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vorn
{
std::string QuotedName(const std::string& path) { return Quoted(path, path.size()); }

const char* FileKind(mode_t mode)
{
    if (S_ISDIR(mode))
        return "a directory";
    if (S_ISFIFO(mode))
        return "a FIFO";
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return "a device";
    if (S_ISSOCK(mode))
        return "a socket";
    if (S_ISREG(mode))
        return "a regular file";
    return "a special file";
}

CInputFile::CInputFile(std::string path, int descriptor) : m_path(std::move(path)), m_descriptor(descriptor) {}

CInputFile CInputFile::Open(const std::string& path)
{
    const auto failure = [&path] { return CToolError(QuotedName(path) + ": cannot open: " + std::strerror(errno)); };
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        throw failure();
    CInputFile file(path, descriptor);
    struct stat status;
    if (fstat(descriptor, &status) != 0)
        throw failure();
    if (!S_ISREG(status.st_mode))
        throw CToolError(QuotedName(path) + ": is " + FileKind(status.st_mode) + ", not a regular file");
    // The flag was for the open only; reads of a regular file wait for the disk.
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags < 0 || fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) != 0)
        throw failure();
    file.m_size = static_cast<std::uint64_t>(status.st_size);
    file.m_device = status.st_dev;
    file.m_inode = status.st_ino;
    return file;
}

CInputFile::CInputFile(CInputFile&& other) noexcept
    : m_path(std::move(other.m_path)), m_descriptor(other.Release()), m_size(other.m_size), m_device(other.m_device),
      m_inode(other.m_inode)
{
}

CInputFile::~CInputFile()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

int CInputFile::Release() noexcept { return std::exchange(m_descriptor, -1); }

CInputStream::CInputStream(const std::string& path)
    : std::istream(nullptr), m_file(CInputFile::Open(path)), m_buffer(m_file)
{
    rdbuf(&m_buffer);
    // A CToolError thrown by the buffer leaves the reading call as it is.
    exceptions(std::ios::badbit);
}

CInputStream::CBuffer::int_type CInputStream::CBuffer::underflow()
{
    ssize_t count;
    do
        count = ::read(m_file.Descriptor(), m_bytes, sizeof m_bytes);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        throw CToolError(QuotedName(m_file.Path()) + ": cannot be read: " + std::strerror(errno));
    if (count == 0)
        return traits_type::eof();
    setg(m_bytes, m_bytes, m_bytes + count);
    return traits_type::to_int_type(m_bytes[0]);
}
} // namespace vorn
