// Mounts of a process's own: file systems, files over files, and recording tools in place of the system's commands.
// What a process mounts here nobody else sees, and it is gone with the process.
//
//   Order of use: ask havePrivateMounts first; then, within runInChild, enterPrivateMounts and the rest.
#pragma once

#include <string>
#include <vector>

namespace TestSupport {

// havePrivateMounts: whether this machine lets a process have mounts of its own; asked in a child process.
bool havePrivateMounts();

// enterPrivateMounts: this process and its children mount for themselves from here on. The process has one thread.
//
//   Fails    throws
void enterPrivateMounts();

// mountTmpfs: an empty file system in memory.
//
//   Takes    path: an existing directory; what it held is hidden
//            options: those of mount(8), for example "size=64k"
//   Fails    throws
void mountTmpfs(const std::string& path, const std::string& options = {});

// remountReadOnly: a file system of mountTmpfs that takes no change any more.
void remountReadOnly(const std::string& path);

// bindFile: one file over another.
//
//   Takes    source: an existing file; target: an existing file whose contents source hides
//   Fails    throws
void bindFile(const std::string& source, const std::string& target);

// makeDirectories: a directory and all above it that are missing.
void makeDirectories(const std::string& path);

// writeFile: a file with exactly this text, in place of one that is there.
void writeFile(const std::string& path, const std::string& text);

// RecordingTools_c: commands that do nothing but write down how they were called; PATH leads to them alone.
//
//   Takes    folder: an existing directory, apart from what the test looks at
//            names: of the commands
//            exitStatus: what each of them ends with
class RecordingTools_c {
public:
  RecordingTools_c(const std::string& folder, const std::vector<std::string>& names, int exitStatus = 0);

  // One line a call, in order: the name and its arguments with blanks between, and a line feed.
  std::string calls() const;

private:
  std::string m_record;
};

} // namespace TestSupport
