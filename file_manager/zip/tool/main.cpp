// brisko-unzip ARCHIVE DEST: unpacks ARCHIVE into DEST with the file manager's extractor.
// Exit code 0 when the archive could be read, 1 when not, 2 on wrong usage.
#include <cstdio>

#include "file_manager/zip/unzip.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: brisko-unzip ARCHIVE DEST\n");
        return 2;
    }
    return brisko::BKUnzipFile(argv[1], argv[2]) ? 0 : 1;
}
