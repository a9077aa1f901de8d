#pragma once
// Where entries land: folders and files are opened relative to the destination folder one
// component at a time, so nothing is created outside it whatever an entry's name says and
// whatever links sit inside it.

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "free_space.h"

namespace brisko::zip {

class OutputTree {
  public:
    explicit OutputTree(std::string destination);
    ~OutputTree();
    OutputTree(const OutputTree&) = delete;
    OutputTree& operator=(const OutputTree&) = delete;

    // The folder destination/folders[0]/folders[1]/..., with every missing folder created.
    // A folder that is a symbolic link is entered only when it leads to a folder inside the
    // destination. -1 when the folder cannot be had (a component is a file, a link leads out,
    // creation fails). The descriptor stays owned by the tree.
    int openFolder(const std::vector<std::string_view>& folders);

  private:
    bool openRoot();
    int enter(int parent, std::string_view name);
    bool isInsideDestination(int folderFd) const;

    std::string destination_;
    int rootFd_ = -1;
    bool rootTried_ = false;
    dev_t rootDev_ = 0;
    ino_t rootIno_ = 0;
    std::string cachedKey_;
    int cachedFd_ = -1;
};

// One output file. When no file of that name exists it is written in place; otherwise it is
// written beside under a temporary name and replaces the old one only on commit, so a failed
// entry never costs the user an existing file. A symbolic link under the name is replaced,
// never followed.
class OutputFile {
  public:
    explicit OutputFile(FreeSpaceGuard& guard) : guard_(guard) {}
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // mode: the permission bits asked of open(), so the umask still applies.
    bool create(int folderFd, std::string_view name, mode_t mode);
    // Fails when the write fails or would take the file system below its free-space floor.
    bool write(const uint8_t* bytes, uint64_t length);
    bool commit();
    void discard();

  private:
    FreeSpaceGuard& guard_;
    int folderFd_ = -1;
    int fd_ = -1;
    std::string name_;
    std::string temporaryName_; // empty when writing in place
};

} // namespace brisko::zip
