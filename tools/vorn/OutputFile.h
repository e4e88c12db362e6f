#pragma once

#include <string>

namespace vorn
{
class CInputFile;

// Refuses, before any work is done, an output that could not be written: its
// directory missing or not writable, the target a directory or a device, or
// the target the very file being read (also through another path or a link),
// which `input` names; `input` may be null.
void CheckOutputTarget(const std::string& path, const CInputFile* input);

// A new version of a file, written under a temporary name in the same
// directory and renamed into place only when it is complete: until then any
// previous version stays as it was. A failure removes the temporary file, and
// so do SIGINT, SIGTERM, SIGHUP and SIGXFSZ (a file size limit) before they
// end the tool. One at a time.
class COutputFile
{
public:
    explicit COutputFile(const std::string& target);
    ~COutputFile();
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    const std::string& Target() const noexcept { return m_target; }
    int Descriptor() const noexcept { return m_descriptor; }

    // Flushes the file to the disk and renames it into place. Errors are
    // CToolError naming the target.
    void Commit();

private:
    [[noreturn]] void Fail(const std::string& reason) const;

    std::string m_target;
    int m_descriptor = -1;
};
} // namespace vorn
