#include "BKMainViewController.h"

#include "app/install/display_name.h"
#include "app/install/install_location.h"
#include "app/keepalive/keepalive.h"
#include "app/status/RuntimeStatusNotifier.h"
#include "app/status/channel.h"
#include "app/status/locations.h"
#include "app/status/notification_names.h"
#include "app/status/runtime_status.h"
#include "file_manager/FBFileBrowserViewController.h"
#include "log_viewer/BKLogViewController.h"
#include "main_screen/device_facts.h"
#include "main_screen/table_rows.h"
#include "platform/bundle/bundle.h"
#include "platform/device/network.h"
#include "platform/dispatch/dispatch.h"
#include "platform/ui/NavigationController.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSaveFile>

namespace brisko {

namespace {

constexpr int64_t kMaxStatusRetries = 5;
constexpr double kStatusRetryDelay = 0.5;
constexpr double kToggleBusyWindow = 0.3;
inline const QString kLogsBarItem = QStringLiteral("openLogs");

bool bootMarkerExists() {
    return QFileInfo::exists(BKBootAutostartMarkerPath());
}

void writeBootMarker(bool on) {
    const QString path = BKBootAutostartMarkerPath();
    if (path.isEmpty()) return;
    if (!on) {
        QFile::remove(path);
        return;
    }
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write("1", 1) == 1) file.commit();
}

} // namespace

BKMainViewController::BKMainViewController() {
    connect(RuntimeStatusNotifier::instance(), &RuntimeStatusNotifier::changed, this,
            &BKMainViewController::refreshData);
    setRightBarItems({QVariantMap{{"symbol", "note.text"}, {"tint", "systemOrange"}, {"id", kLogsBarItem}}});
}

QUrl BKMainViewController::viewUrl() const {
    return moduleViewUrl("MainScreen", "MainView.qml");
}

void BKMainViewController::viewDidLoad() {
    setTitle(BKApplicationDisplayName());
    configureScriptControlsIfNeeded();
    refreshData();
    requestRuntimeStatus();
}

void BKMainViewController::viewWillAppear(bool animated) {
    ui::ViewController::viewWillAppear(animated);
    refreshData();
    requestRuntimeStatus();
}

BKMainScreenState BKMainViewController::currentState() const {
    BKMainScreenState state;
    state.statusLoaded = _runtimeStatusLoaded;
    state.toggleBusy = _debugToggleBusy;
    state.debugEnabled = _debugServiceEnabled;
    state.clientConnected = _debugClientConnected;
    state.debugStatus = _debugStatus;
    state.privilegedInstall = isPrivilegedInstall();
    state.bundleIdentifier = bundle::bundleIdentifier();
    state.wifiAddress = [this] { return wifiAddress(); };
    state.bootMarkerExists = bootMarkerExists;
    return state;
}

void BKMainViewController::viewDidLayoutSubviews() {
    ui::ViewController::viewDidLayoutSubviews();
    layoutScriptControlHeaderIfNeeded();
}

void BKMainViewController::refreshData() {
    configureScriptControlsIfNeeded();
    m_sections = BKMainSections(readDeviceFacts(), currentState());
    m_tableSections = BKTableSections(m_sections);
    emit sectionsChanged();
}

void BKMainViewController::requestRuntimeStatus() {
    postNotification(QString::fromLatin1(names::kPing));
    if (_runtimeStatusLoaded || _runtimeStatusRetryCount >= kMaxStatusRetries) return;
    ++_runtimeStatusRetryCount;
    dispatchMainAfter(kStatusRetryDelay, [self = QPointer(this)] {
        if (self && !_runtimeStatusLoaded) self->requestRuntimeStatus();
    });
}

void BKMainViewController::debugToggleChanged(bool on) {
    // A refused tap leaves the model, and so the switch, as it was.
    if (_debugToggleBusy || !_runtimeStatusLoaded) return;
    sendDebugToggleRequest(on);
}

void BKMainViewController::sendDebugToggleRequest(bool on) {
    _debugToggleBusy = true;
    _debugServiceEnabled = on;
    if (on) {
        _debugStatus = _debugClientConnected ? kDebugStatusConnected : kDebugStatusWaiting;
        startKeepAlive();
    } else {
        _debugClientConnected = false;
        _debugStatus = kDebugStatusOff;
        stopKeepAlive();
    }
    refreshData();
    postNotification(QString::fromLatin1(on ? names::kDebugEnableRequest : names::kDebugDisableRequest));
    // The row leaves "切换中..." with the refresh that the daemon's answer brings.
    dispatchMainAfter(kToggleBusyWindow, [self = QPointer(this)] {
        _debugToggleBusy = false;
        if (self) self->requestRuntimeStatus();
    });
}

void BKMainViewController::bootToggleChanged(bool on) {
    writeBootMarker(on);
    // The switch shows the file's state, not the tap's: a failed write must not mislead the next boot.
    refreshData();
}

QString BKMainViewController::rowAction(int section, int row) const {
    const QVariantList rows = m_sections.value(section).toMap().value("rows").toList();
    return rows.value(row).toMap().value("act").toString();
}

void BKMainViewController::switchToggled(int section, int row, bool on) {
    const QString action = rowAction(section, row);
    if (action == kActionDebugToggle)
        debugToggleChanged(on);
    else if (action == kActionBootToggle)
        bootToggleChanged(on);
}

void BKMainViewController::didSelectRow(int section, int row) {
    // Switch rows act through their switches; the device and about rows do nothing.
    if (rowAction(section, row) == kActionFiles) openFileManager();
    if (isServiceAddressRow(m_sections, section, row)) showServiceAddress();
}

void BKMainViewController::openFileManager() {
    auto* browser = new FBFileBrowserViewController(BKDocumentsDirectory());
    browser->setTitle(QStringLiteral("文件管理"));
    if (ui::NavigationController* navigation = navigationController())
        navigation->pushViewController(browser, true);
    else
        delete browser;
}

void BKMainViewController::barItemTapped(const QString& id) {
    if (id == kLogsBarItem) openLogs();
}

void BKMainViewController::openLogs() {
    if (ui::NavigationController* nav = navigationController())
        nav->pushViewController(new BKLogViewController, true);
}

void BKMainViewController::postNotification(const QString& name) {
    BKPostDarwinNotification(name);
}
void BKMainViewController::startKeepAlive() {
    BKInstallDebugAudioKeepAlive();
}
void BKMainViewController::stopKeepAlive() {
    BKStopDebugAudioKeepAlive();
}
BKDeviceFacts BKMainViewController::readDeviceFacts() const {
    return BKReadDeviceFacts();
}
QString BKMainViewController::wifiAddress() const {
    return BKGetWiFiAddress();
}
bool BKMainViewController::isPrivilegedInstall() const {
    return BKIsJailbreakInstalledApp();
}

} // namespace brisko
