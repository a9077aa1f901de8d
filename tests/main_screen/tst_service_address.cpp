// The "服务地址" alert: the daemon's token file read as hostile input, the addresses offered, the
// QR code decoded back by an independent reader, and the row's tap through the screen.

#include "app/status/runtime_status.h"
#include "main_screen/BKMainViewController.h"
#include "main_screen/qr_code.h"
#include "main_screen/service_address.h"
#include "platform/bundle/bundle.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/engine.h"

#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlEngine>
#include <QQuickImageProvider>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <netinet/in.h>
#include <sys/stat.h>

using namespace brisko;

namespace {

const QByteArray kToken = "3f9c2a7d5b8e1046c7a2f0d9e4b3816a5c0d7e2f9a4b6c8d1e3f5a7b9c0d2e4f";

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

// What zbarimg, a reader that shares no code with the encoder, finds in the image.
QString decodedByZbar(const QImage& image, const QString& folder) {
    const QString png = folder + "/qr.png";
    if (!image.save(png)) return "(not saved)";
    QProcess zbar;
    zbar.start("zbarimg", {"--raw", "-q", "-Sbinary", png});
    zbar.waitForFinished();
    return QString::fromUtf8(zbar.readAllStandardOutput()); // binary mode adds no line end
}

class AddressScreen : public BKMainViewController {
  public:
    QString wifi;

  protected:
    void postNotification(const QString&) override {}
    void startKeepAlive() override {}
    void stopKeepAlive() override {}
    QString wifiAddress() const override { return wifi; }
};

} // namespace

class ServiceAddressTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        QVERIFY2(!QStandardPaths::findExecutable("zbarimg").isEmpty(), "zbar-tools is not installed");
        bundle::enableTestMode();
        QVERIFY(QDir().mkpath(bundle::documentsDirectory()));
    }

    void tokenFile_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("good") << "file" << kToken << true;
        QTest::newRow("missing") << "none" << QByteArray() << false;
        QTest::newRow("empty") << "file" << QByteArray() << false;
        QTest::newRow("short") << "file" << kToken.left(63) << false;
        QTest::newRow("trailing newline") << "file" << kToken + "\n" << false;
        QTest::newRow("upper case") << "file" << kToken.toUpper() << false;
        QTest::newRow("non-hex") << "file" << QByteArray(kToken).replace(10, 1, "g") << false;
        QTest::newRow("NUL inside") << "file" << QByteArray(kToken).replace(10, 1, QByteArray(1, '\0'))
                                    << false;
        QTest::newRow("huge") << "file" << kToken.repeated(1 << 14) << false;
        QTest::newRow("link to a good token") << "link" << kToken << false;
        QTest::newRow("fifo") << "fifo" << QByteArray() << false;
        QTest::newRow("directory") << "dir" << QByteArray() << false;
    }
    void tokenFile() {
        QFETCH(QString, kind);
        QFETCH(QByteArray, content);
        QFETCH(bool, accepted);
        QTemporaryDir documents;
        const QString path = documents.path() + "/.floatball.token";
        if (kind == "file") writeFile(path, content);
        if (kind == "link") {
            writeFile(documents.path() + "/elsewhere", content);
            QVERIFY(QFile::link(documents.path() + "/elsewhere", path));
        }
        if (kind == "fifo") QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        if (kind == "dir") QVERIFY(QDir().mkpath(path));
        const std::optional<QString> token = BKReadDebugToken(documents.path());
        QCOMPARE(token.has_value(), accepted);
        if (accepted) QCOMPARE(token->toLatin1(), content);
    }

    void hostsPreferWiFiThenEveryOtherIPv4Once() {
        const QList<BKInterfaceAddress> all = {{"lo", AF_INET, "127.0.0.1"},
                                               {"eth0", AF_INET, "10.0.0.5"},
                                               {"eth0", AF_INET6, "fe80::1"},
                                               {"docker0", AF_INET, "172.17.0.1"},
                                               {"eth0:1", AF_INET, "10.0.0.5"}};
        QCOMPARE(BKServiceAddressHosts("192.168.1.23", all), QStringList{"192.168.1.23"});
        QCOMPARE(BKServiceAddressHosts("", all), QStringList({"10.0.0.5", "172.17.0.1"}));
    }

    // A missing token never yields a URL, a QR code or something to copy.
    void alertContent() {
        const QString url = "http://10.0.0.5:8820/?token=" + kToken;
        const auto full = BKServiceAddressAlertContent({"10.0.0.5", "172.17.0.1"}, false, QString(kToken));
        QCOMPARE(full.message,
                 "未检测到 Wi-Fi，可尝试以下地址：\n" + url + "\nhttp://172.17.0.1:8820/?token=" + kToken);
        QCOMPARE(full.qrPayload, url);
        QCOMPARE(full.copyText, url);
        const auto noToken = BKServiceAddressAlertContent({"10.0.0.5"}, true, std::nullopt);
        QCOMPARE(noToken.message, QString("10.0.0.5:8820\n令牌不可用，请稍后重试或重新开启调试模式"));
        QVERIFY(noToken.qrPayload.isEmpty() && noToken.copyText.isEmpty());
        QVERIFY(BKServiceAddressAlertContent({}, true, QString(kToken)).qrPayload.isEmpty());
    }

    // Through the URL a view would load, so the id's encoding is part of the trip.
    void qrRoundTrip_data() {
        QTest::addColumn<QString>("payload");
        QTest::newRow("address") << "http://192.168.100.200:8820/?token=" + QString::fromLatin1(kToken);
        QTest::newRow("URL-special characters") << "a/b?c=d&e=%2F#f+g h";
        QTest::newRow("non-ASCII") << "服务地址 ✓";
    }
    void qrRoundTrip() {
        QFETCH(QString, payload);
        QTemporaryDir folder;
        BKInstallQRCodeImageProvider(ui::engine());
        auto* provider = static_cast<QQuickImageProvider*>(ui::engine()->imageProvider("qrcode"));
        const QUrl url = BKQRCodeImageUrl(payload);
        const QImage image = provider->requestImage(
            url.toString(QUrl::RemoveScheme | QUrl::RemoveAuthority).mid(1), nullptr, {200, 200});
        QVERIFY(!image.isNull() && image.width() <= 200 && image.width() >= 100);
        const int modules = BKEncodeQR(payload.toUtf8())->size + 2 * kQRQuietZone;
        QCOMPARE(image.width() % modules, 0);
        QCOMPARE(decodedByZbar(image, folder.path()), payload);
    }

    void tooLongForQR() {
        QVERIFY(BKQRCodeImage(QByteArray(4000, 'x'), 200).isNull());
        QVERIFY(!BKQRCodeImage("x", 0).isNull()); // never smaller than a pixel per module
    }

    void tappingTheRowCopiesTheAddress() {
        writeFile(bundle::documentsDirectory() + "/.floatball.token", kToken);
        resetRuntimeStatusForTesting();
        _runtimeStatusLoaded = _debugServiceEnabled = true;
        AddressScreen screen;
        screen.wifi = "192.168.1.23";
        screen.refreshData();
        screen.didSelectRow(1, 2);
        ui::AlertController* alert = ui::AlertController::topPresented();
        QVERIFY(alert && !alert->imageSource().isEmpty());
        QVERIFY(alert->tapAction("复制地址"));
        QCOMPARE(QGuiApplication::clipboard()->text(), "http://192.168.1.23:8820/?token=" + kToken);
    }
};

QTEST_MAIN(ServiceAddressTest)
#include "tst_service_address.moc"
