#include "OutputFile.h"

#include "InputFile.h"
#include "ToolError.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vorn
{
namespace
{
std::string DirectoryOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// The temporary file a signal handler removes: a fixed buffer, since a handler
// may not allocate.
char g_temporary[4096];
volatile std::sig_atomic_t g_temporaryExists = 0;
const int CLEANUP_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGXFSZ};
struct sigaction g_previous[sizeof CLEANUP_SIGNALS / sizeof CLEANUP_SIGNALS[0]];

extern "C" void RemoveTemporaryAndDie(int signal)
{
    if (g_temporaryExists)
        unlink(g_temporary);
    // SA_RESETHAND has restored the default action, which ends the tool.
    raise(signal);
}

void CatchSignals()
{
    struct sigaction action = {};
    action.sa_handler = RemoveTemporaryAndDie;
    action.sa_flags = SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < sizeof CLEANUP_SIGNALS / sizeof CLEANUP_SIGNALS[0]; ++i)
    {
        sigaction(CLEANUP_SIGNALS[i], nullptr, &g_previous[i]);
        // A signal the tool was started to ignore stays ignored.
        if (g_previous[i].sa_handler != SIG_IGN)
            sigaction(CLEANUP_SIGNALS[i], &action, nullptr);
    }
}

void RestoreSignals()
{
    for (std::size_t i = 0; i < sizeof CLEANUP_SIGNALS / sizeof CLEANUP_SIGNALS[0]; ++i)
        sigaction(CLEANUP_SIGNALS[i], &g_previous[i], nullptr);
}

// The permissions the new version gets: those of the version it replaces, or
// what creating the file would have given.
mode_t NewFileMode(const std::string& target)
{
    struct stat status;
    if (stat(target.c_str(), &status) == 0)
        return status.st_mode & 07777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}
} // namespace

void CheckOutputTarget(const std::string& path, const CInputFile* input)
{
    const std::string cannot = QuotedName(path) + ": cannot be written: ";
    struct stat status;
    if (stat(path.c_str(), &status) == 0)
    {
        if (input && input->Is(status.st_dev, status.st_ino))
            throw CToolError(QuotedName(path) + ": is the input image itself; write into another file");
        if (!S_ISREG(status.st_mode))
            throw CToolError(cannot + "it is " + FileKind(status.st_mode));
    }
    else if (errno != ENOENT)
        throw CToolError(cannot + std::strerror(errno));
    const std::string directory = DirectoryOf(path);
    if (stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        throw CToolError(cannot + "directory " + QuotedName(directory) + " does not exist");
    if (access(directory.c_str(), W_OK | X_OK) != 0)
        throw CToolError(cannot + "directory " + QuotedName(directory) + " is not writable");
}

COutputFile::COutputFile(const std::string& target) : m_target(target)
{
    const std::string pattern = DirectoryOf(target) + "/.vorn-XXXXXX";
    if (pattern.size() >= sizeof g_temporary)
        Fail("the path is too long");
    CatchSignals();
    std::memcpy(g_temporary, pattern.c_str(), pattern.size() + 1);
    m_descriptor = mkostemp(g_temporary, O_CLOEXEC);
    if (m_descriptor < 0)
    {
        const std::string reason = std::strerror(errno);
        RestoreSignals();
        Fail(reason);
    }
    g_temporaryExists = 1;
}

COutputFile::~COutputFile()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
    if (g_temporaryExists)
    {
        unlink(g_temporary);
        g_temporaryExists = 0;
        RestoreSignals();
    }
}

void COutputFile::Commit()
{
    // Without the flush a crash soon after the rename could leave the new name
    // on a file whose data never reached the disk; and a full disk or a failing
    // device may only show here.
    if (fchmod(m_descriptor, NewFileMode(m_target)) != 0 || fsync(m_descriptor) != 0)
        Fail(std::strerror(errno));
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (close(descriptor) != 0 || rename(g_temporary, m_target.c_str()) != 0)
        Fail(std::strerror(errno));
    g_temporaryExists = 0;
    RestoreSignals();
}

void COutputFile::Fail(const std::string& reason) const
{
    throw CToolError(QuotedName(m_target) + ": cannot be written: " + reason);
}
} // namespace vorn
