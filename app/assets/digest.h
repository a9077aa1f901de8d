#pragma once
// The bundle digest: MD5 over the bundle tree's names and file contents, used to deploy the
// bundled assets once per distinct bundle content.

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstddef>

struct evp_md_ctx_st;

namespace brisko {

// Whatever the digest bytes are fed to; tests record the stream through it.
class BKMD5Sink {
  public:
    virtual ~BKMD5Sink() = default;
    virtual void update(const char* data, std::size_t size) = 0;
};

// MD5 (OpenSSL's, which keeps up with md5sum; Qt's own is slower).
class BKMD5Context final : public BKMD5Sink {
  public:
    BKMD5Context();
    ~BKMD5Context() override;
    BKMD5Context(const BKMD5Context&) = delete;
    BKMD5Context& operator=(const BKMD5Context&) = delete;

    void update(const char* data, std::size_t size) override;
    QString finalHex(); // 32 lower-case hex digits; the context is spent afterwards

  private:
    evp_md_ctx_st* ctx_;
};

// Digest of bundle::bundlePath()'s tree; null when there is no bundle path.
QString BKAppBundleMD5();

// Feeds each entry below root/relative (relative empty for root itself), names sorted at
// each level, hidden names skipped: the relative path as a string, then "/" and the folder's
// entries for a folder, or the raw content for a file. Links are followed, except a link to a
// folder already being walked, which is fed as an empty folder so a loop cannot recurse.
void BKMD5UpdateDirectoryTree(BKMD5Sink* context, const QString& root, const QString& relative = {});

// A 4-byte little-endian length, then the UTF-8 bytes; nothing for an empty string.
void BKMD5UpdateString(BKMD5Sink* context, const QString& string);

// The file's bytes; nothing when it cannot be opened or is not a regular file.
void BKMD5UpdateFile(BKMD5Sink* context, const QString& path);

namespace assets {
// The same on native byte paths, which keep names that are not valid UTF-8.
void updateDirectoryTree(BKMD5Sink* context, const QByteArray& root, const QByteArray& relative);
void updateString(BKMD5Sink* context, const QByteArray& utf8);
void updateFile(BKMD5Sink* context, const QByteArray& path);

// A folder's entry names in digest order, hidden ones left out.
QList<QByteArray> digestOrder(const QByteArray& dir);
} // namespace assets

} // namespace brisko
