#include "FBFileBrowserViewController.h"

#include "app/feedback/feedback.h"
#include "file_manager/editor/FBTextEditorViewController.h"
#include "file_manager/file_listing.h"
#include "file_manager/file_names.h"
#include "file_manager/file_operations.h"
#include "file_manager/file_types.h"
#include "file_manager/thumbnail_provider.h"
#include "file_manager/zip/unzip.h"
#include "platform/dispatch/dispatch.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/engine.h"

#include <QFileInfo>
#include <QPointer>
#include <QUrl>

namespace brisko {
namespace {

using ui::AlertController;
using Action = AlertController::ActionStyle;
inline const QString kAddBarItem = QStringLiteral("add");
inline const QString kOk = QStringLiteral("确定");
inline const QString kCancel = QStringLiteral("取消");

QString lastComponent(const QString& path) {
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(QLatin1Char('/')))
        trimmed.chop(1);
    return trimmed.mid(trimmed.lastIndexOf(QLatin1Char('/')) + 1);
}

QString localPath(const QString& pathOrUrl) {
    const QUrl url(pathOrUrl);
    if (url.isLocalFile()) return url.toLocalFile();
    if (!url.scheme().isEmpty() && url.scheme().size() > 1) return {}; // not a file URL
    return pathOrUrl;
}

} // namespace

FBFileBrowserViewController::FBFileBrowserViewController(const QString& path, QObject* parent)
    : ViewController(parent), m_dirPath(path) {
    setTitle(lastComponent(path));
    setRightBarItems({QVariantMap{{"symbol", "plus"}, {"id", kAddBarItem}}});
}

QUrl FBFileBrowserViewController::viewUrl() const {
    return moduleViewUrl("FileManager", "FileBrowserView.qml");
}

void FBFileBrowserViewController::viewDidLoad() {
    BKInstallThumbnailProvider(ui::engine());
    loadContents();
}

void FBFileBrowserViewController::viewWillAppear(bool animated) {
    ViewController::viewWillAppear(animated);
    loadContents();
}

void FBFileBrowserViewController::loadContents() {
    m_items = BKListFolder(m_dirPath);
    emit itemsChanged();
}

void FBFileBrowserViewController::pullToRefresh() {
    loadContents();
}

QVariantList FBFileBrowserViewController::rows() const {
    QVariantList rows;
    rows.reserve(m_items.size());
    for (const QVariant& record : m_items) {
        QVariantMap row = record.toMap();
        const QString name = row.value(QStringLiteral("name")).toString();
        const bool isDir = row.value(QStringLiteral("isDir")).toBool();
        row.insert(QStringLiteral("symbol"), BKFileIcon(name, isDir));
        row.insert(QStringLiteral("tint"), BKFileColor(name, isDir));
        const bool thumbnail = !isDir && BKIsImagePath(name);
        row.insert(QStringLiteral("thumbnail"),
                   thumbnail ? BKThumbnailUrl(row.value(QStringLiteral("path")).toString()) : QString());
        rows.append(row);
    }
    return rows;
}

void FBFileBrowserViewController::didSelectRow(int row) {
    if (row < 0 || row >= m_items.size()) return;
    const QVariantMap item = m_items.at(row).toMap();
    if (item.value(QStringLiteral("isDir")).toBool()) {
        pushViewController(new FBFileBrowserViewController(item.value(QStringLiteral("path")).toString()));
        return;
    }
    const QString extension = BKPathExtension(item.value(QStringLiteral("name")).toString());
    if (extension == QLatin1String("zip"))
        showUnzipPromptForItem(item);
    else if (BKIsEditable(extension))
        openEditableFile(item);
    else
        showInformationAlert(item);
}

void FBFileBrowserViewController::openEditableFile(const QVariantMap& item) {
    pushViewController(new FBTextEditorViewController(item.value(QStringLiteral("path")).toString()));
}

void FBFileBrowserViewController::showInformationAlert(const QVariantMap& item) {
    auto* alert = new AlertController(item.value(QStringLiteral("name")).toString(),
                                      item.value(QStringLiteral("detail")).toString());
    alert->addAction(kOk, Action::Default);
    present(alert);
}

void FBFileBrowserViewController::barItemTapped(const QString& id) {
    if (id == kAddBarItem) showCreateMenu();
}

void FBFileBrowserViewController::showCreateMenu() {
    auto* sheet = new AlertController(QString(), QString(), AlertController::Style::ActionSheet);
    QPointer<FBFileBrowserViewController> self(this);
    sheet->addAction(QStringLiteral("导入文件"), Action::Default, [self](AlertController*) {
        if (self) self->importFile();
    });
    sheet->addAction(QStringLiteral("新建文件"), Action::Default, [self](AlertController*) {
        if (self) self->createItemIsDir(false);
    });
    sheet->addAction(QStringLiteral("新建文件夹"), Action::Default, [self](AlertController*) {
        if (self) self->createItemIsDir(true);
    });
    sheet->addAction(kCancel, Action::Cancel);
    present(sheet);
}

void FBFileBrowserViewController::importFile() {
    emit importRequested();
}

void FBFileBrowserViewController::importPaths(const QStringList& pathsOrUrls) {
    QStringList paths;
    for (const QString& entry : pathsOrUrls) {
        const QString path = localPath(entry);
        if (!path.isEmpty()) paths.append(path);
    }
    const int count = BKImportFiles(m_dirPath, paths);
    loadContents();
    if (count >= 1) showToast(QStringLiteral("已导入 %1 个文件").arg(count));
}

void FBFileBrowserViewController::createItemIsDir(bool isDir) {
    auto* alert =
        new AlertController(isDir ? QStringLiteral("新建文件夹") : QStringLiteral("新建文件"), QString());
    alert->addTextField(QString(),
                        isDir ? QStringLiteral("文件夹名称") : QStringLiteral("文件名 (如 main.go)"));
    alert->addAction(kCancel, Action::Cancel);
    QPointer<FBFileBrowserViewController> self(this);
    alert->addAction(QStringLiteral("创建"), Action::Default, [self, isDir](AlertController* dialog) {
        const QString name = dialog->textFieldText(0);
        if (!self || name.isEmpty()) return;
        if (BKCreateItem(self->m_dirPath, name, isDir) == CreateOutcome::AlreadyExists) {
            self->collisionAlert();
            return;
        }
        self->loadContents();
        self->showToast(QStringLiteral("已创建「%1」").arg(name));
    });
    present(alert);
}

void FBFileBrowserViewController::collisionAlert() {
    auto* alert = new AlertController(QString(), QStringLiteral("同名项目已存在"));
    alert->addAction(kOk, Action::Default);
    present(alert);
}

void FBFileBrowserViewController::renameItemAtIndex(int index) {
    if (index < 0 || index >= m_items.size()) return;
    const QVariantMap item = m_items.at(index).toMap();
    const QString oldName = item.value(QStringLiteral("name")).toString();
    auto* alert = new AlertController(QStringLiteral("重命名"), QString());
    alert->addTextField(oldName, QString());
    alert->addAction(kCancel, Action::Cancel);
    QPointer<FBFileBrowserViewController> self(this);
    alert->addAction(kOk, Action::Default, [self, item, oldName](AlertController* dialog) {
        const QString newName = dialog->textFieldText(0);
        if (!self || newName.isEmpty() || newName == oldName) return;
        BKRenameItem(item.value(QStringLiteral("path")).toString(), BKJoinPath(self->m_dirPath, newName));
        self->loadContents();
    });
    present(alert);
}

void FBFileBrowserViewController::deleteItemAtIndex(int index) {
    if (index < 0 || index >= m_items.size()) return;
    const QVariantMap item = m_items.at(index).toMap();
    auto* alert = new AlertController(
        QStringLiteral("确认删除"),
        QStringLiteral("删除「%1」？此操作不可撤销").arg(item.value(QStringLiteral("name")).toString()));
    alert->addAction(kCancel, Action::Cancel);
    QPointer<FBFileBrowserViewController> self(this);
    alert->addAction(QStringLiteral("删除"), Action::Destructive, [self, item, index](AlertController*) {
        BKRemoveItem(item.value(QStringLiteral("path")).toString());
        // The row goes whether or not the removal worked; the next listing shows what is left.
        if (!self || index >= self->m_items.size() || self->m_items.at(index).toMap() != item) return;
        self->m_items.removeAt(index);
        emit self->itemsChanged();
    });
    present(alert);
}

void FBFileBrowserViewController::showUnzipPromptForItem(const QVariantMap& item) {
    auto* sheet = new AlertController(item.value(QStringLiteral("name")).toString(), QString(),
                                      AlertController::Style::ActionSheet);
    QPointer<FBFileBrowserViewController> self(this);
    sheet->addAction(QStringLiteral("解压"), Action::Default, [self, item](AlertController*) {
        if (self) self->unzipItem(item);
    });
    sheet->addAction(kCancel, Action::Cancel);
    present(sheet);
}

void FBFileBrowserViewController::unzipItem(const QVariantMap& item) {
    const QString archive = item.value(QStringLiteral("path")).toString();
    const QString destination = archive.left(archive.lastIndexOf(QLatin1Char('/')));
    showLoading(QStringLiteral("解压中..."));
    QPointer<FBFileBrowserViewController> self(this);
    dispatchGlobalAsync([self, archive, destination] {
        const bool ok = BKUnzipFile(
            BKEncodeFileName(archive).toStdString(),
            BKEncodeFileName(destination.isEmpty() ? QStringLiteral("/") : destination).toStdString());
        dispatchMainAsync([self, ok] {
            if (!self) return;
            self->dismissLoading();
            self->loadContents();
            self->showToast(ok ? QStringLiteral("解压完成") : QStringLiteral("解压失败"));
            emit self->unzipFinished(ok);
        });
    });
}

void FBFileBrowserViewController::showToast(const QString& text) {
    BKShowToast(view(), text);
}

void FBFileBrowserViewController::showLoading(const QString& text) {
    BKShowLoading(view(), text);
}

void FBFileBrowserViewController::dismissLoading() {
    BKDismissLoading(view());
}

void FBFileBrowserViewController::pushViewController(ui::ViewController* controller) {
    if (ui::NavigationController* navigation = navigationController())
        navigation->pushViewController(controller, true);
    else
        delete controller;
}

} // namespace brisko
