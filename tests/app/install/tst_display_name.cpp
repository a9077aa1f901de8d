#include "app/install/display_name.h"
#include "app/install/strings_file.h"
#include "platform/bundle/bundle.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

using namespace brisko;

namespace {

QByteArray plistWith(const QVariantMap& keys) {
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
    for (auto it = keys.cbegin(); it != keys.cend(); ++it)
        xml +=
            "<key>" + it.key().toUtf8() + "</key><string>" + it.value().toString().toUtf8() + "</string>\n";
    return xml + "</dict>\n</plist>\n";
}

} // namespace

class TestDisplayName : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::SimplifiedHanScript, QLocale::China));
    }
    void cleanup() { bundle::setBundlePathForTesting({}); }

    // Each listed .lproj folder gets the strings line with %1 replaced by its own name.
    void displayName_data() {
        QTest::addColumn<QByteArray>("info");
        QTest::addColumn<QString>("folders");
        QTest::addColumn<QString>("strings");
        QTest::addColumn<QString>("expected");
        const QByteArray both = plistWith({{"CFBundleDisplayName", "速点"}, {"CFBundleName", "BriskoName"}});
        const QByteArray emptyDisplay =
            plistWith({{"CFBundleDisplayName", ""}, {"CFBundleName", "BriskoName"}});
        const QString display = "\"CFBundleDisplayName\" = \"%1\";", name = "CFBundleName = \"%1\";";
        QTest::newRow("display name first") << both << ""
                                            << ""
                                            << "速点";
        QTest::newRow("empty display name skipped") << emptyDisplay << ""
                                                    << ""
                                                    << "BriskoName";
        QTest::newRow("no property list") << QByteArray() << ""
                                          << ""
                                          << "Brisko";
        QTest::newRow("script folder") << both << "zh-Hans" << display << "zh-Hans";
        QTest::newRow("underscore folder") << both << "zh_CN" << display << "zh_CN";
        QTest::newRow("base folder") << both << "Base" << display << "Base";
        QTest::newRow("other language") << both << "en" << display << "速点";
        QTest::newRow("most specific language wins") << both << "zh,zh-Hans" << display << "zh-Hans";
        QTest::newRow("localized name loses to display name") << both << "zh-Hans" << name << "速点";
        QTest::newRow("localized name beats plain one") << emptyDisplay << "zh-Hans" << name << "zh-Hans";
    }
    void displayName() {
        QFETCH(QByteArray, info);
        QFETCH(QString, folders);
        QFETCH(QString, strings);
        QTemporaryDir dir;
        auto write = [&](const QString& path, const QByteArray& data) {
            QDir().mkpath(QFileInfo(dir.filePath(path)).path());
            QFile file(dir.filePath(path));
            return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
        };
        if (!info.isEmpty()) QVERIFY(write("Info.plist", info));
        for (const QString& lang : folders.split(',', Qt::SkipEmptyParts))
            QVERIFY(write(lang + ".lproj/InfoPlist.strings", QString(strings).replace("%1", lang).toUtf8()));
        bundle::setBundlePathForTesting(dir.path());
        QTEST(BKApplicationDisplayName(), "expected");
    }

    void stringsFile_data() {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("value"); // of key A; empty: absent
        QStringEncoder utf16(QStringEncoder::Utf16LE, QStringEncoder::Flag::WriteBom);
        QTest::newRow("comments") << QByteArray("/* A = \"no\"; */ // A = \"no\";\nA = \"yes\"; /* end")
                                  << "yes";
        QTest::newRow("escapes") << QByteArray(R"("A" = "q\"t\\n\n\U901f";)") << "q\"t\\n\n速";
        QTest::newRow("utf-16 with byte-order mark")
            << QByteArray(utf16(QStringLiteral("\"A\" = \"速点\";"))) << "速点";
        QTest::newRow("missing semicolon drops pair") << QByteArray("A = \"1\"") << "";
    }
    void stringsFile() {
        QFETCH(QByteArray, data);
        QTEST(parseStringsFile(data).value("A"), "value");
    }
};

QTEST_GUILESS_MAIN(TestDisplayName)
#include "tst_display_name.moc"
