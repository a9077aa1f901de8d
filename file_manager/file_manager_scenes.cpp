#include "file_manager_scenes.h"

#include "FBFileBrowserViewController.h"
#include "app/feedback/feedback.h"
#include "app/status/app_references.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/scenes.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QQuickItem>
#include <QTemporaryDir>

#include <functional>

namespace brisko {
namespace {

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) file.write(bytes);
}

void writePhoto(const QString& path, QColor from, QColor to, QSize size) {
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    painter.fillRect(image.rect(), gradient);
    painter.setBrush(QColor(255, 255, 255, 170));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPoint(size.width() * 2 / 3, size.height() / 3), size.height() / 6,
                        size.height() / 6);
    painter.end();
    image.save(path);
}

// Folders, real photos and one file of each icon and colour kind.
QString sampleDocuments() {
    static QTemporaryDir dir;
    static bool made = false;
    if (!made) {
        made = true;
        QDir root(dir.path());
        for (const char* folder : {"app/lib", "assets/icons", "scripts", "空文件夹"})
            root.mkpath(QString::fromUtf8(folder));
        writeFile(root.filePath("scripts/main.lua"), "print('hi')\n");
        writePhoto(root.filePath("sunset.jpg"), QColor(255, 149, 0), QColor(175, 82, 222), QSize(1600, 1200));
        writePhoto(root.filePath("screenshot.png"), QColor(0, 122, 255), QColor(52, 199, 89),
                   QSize(600, 1300));
        const std::pair<const char*, QByteArray> files[] = {
            {"main.go", "package main\n"},
            {"config.json", "{}\n"},
            {"tasks.yml", "a: 1\n"},
            {"server.ini", "[main]\n"},
            {"backup.zip", QByteArray("PK\x05\x06", 4) + QByteArray(18, '\0')},
            {"script.log", "started\n"},
            {"notes.txt", "hello\n"},
            {"broken.bmp", "not an image"},
            {"firmware.bin", QByteArray(1536, '\1')},
            {".hidden", "x"},
        };
        for (const auto& [name, bytes] : files)
            writeFile(root.filePath(QString::fromUtf8(name)), bytes);
    }
    return dir.path();
}

FBFileBrowserViewController* pushBrowser(const QString& path, const QString& title) {
    auto* browser = new FBFileBrowserViewController(path);
    browser->setTitle(title);
    if (_rootNav) _rootNav->pushViewController(browser, false);
    return browser;
}

void popTo(int depth) {
    for (ui::AlertController* alert : ui::AlertController::presented())
        ui::dismissAlert(alert);
    while (_rootNav && _rootNav->depth() > depth)
        _rootNav->popViewControllerAnimated(false);
}

// Pushes the sample browser, then runs `then` on it; the clean-up returns to the main screen.
ui::SceneSetUp withBrowser(std::function<void(FBFileBrowserViewController*)> then, bool empty = false) {
    return [then, empty](QQuickItem*) -> std::function<void()> {
        const int depth = _rootNav ? _rootNav->depth() : 0;
        const QString path = empty ? sampleDocuments() + QStringLiteral("/空文件夹") : sampleDocuments();
        FBFileBrowserViewController* browser =
            pushBrowser(path, empty ? QStringLiteral("空文件夹") : QStringLiteral("文件管理"));
        if (then) then(browser);
        return [depth] { popTo(depth); };
    };
}

QVariantMap itemNamed(FBFileBrowserViewController* browser, const QString& name) {
    for (const QVariant& item : browser->items())
        if (item.toMap().value(QStringLiteral("name")) == name) return item.toMap();
    return {};
}

int rowNamed(FBFileBrowserViewController* browser, const QString& name) {
    return int(browser->items().indexOf(itemNamed(browser, name)));
}

void revealActions(FBFileBrowserViewController* browser, int row) {
    browser->view()->setProperty("revealedRow", row);
}

} // namespace

void registerFileManagerScenes() {
    ui::registerScene(QStringLiteral("files-documents"), withBrowser({}), 1200);
    ui::registerScene(QStringLiteral("files-empty"), withBrowser({}, true));
    ui::registerScene(QStringLiteral("files-create-menu"), withBrowser([](FBFileBrowserViewController* b) {
                          b->barItemTapped(QStringLiteral("add"));
                      }));
    ui::registerScene(QStringLiteral("files-create-dialog"),
                      withBrowser([](FBFileBrowserViewController* b) { b->createItemIsDir(false); }));
    ui::registerScene(QStringLiteral("files-rename-dialog"), withBrowser([](FBFileBrowserViewController* b) {
                          b->renameItemAtIndex(rowNamed(b, QStringLiteral("notes.txt")));
                      }));
    ui::registerScene(QStringLiteral("files-delete-confirm"), withBrowser([](FBFileBrowserViewController* b) {
                          b->deleteItemAtIndex(rowNamed(b, QStringLiteral("scripts")));
                      }));
    ui::registerScene(QStringLiteral("files-swipe-actions"), withBrowser([](FBFileBrowserViewController* b) {
                          revealActions(b, rowNamed(b, QStringLiteral("config.json")));
                      }));
    ui::registerScene(QStringLiteral("files-unzip-prompt"), withBrowser([](FBFileBrowserViewController* b) {
                          b->didSelectRow(rowNamed(b, QStringLiteral("backup.zip")));
                      }));
    ui::registerScene(QStringLiteral("files-unzipping"), withBrowser([](FBFileBrowserViewController* b) {
                          BKShowLoading(b->view(), QStringLiteral("解压中..."));
                      }));
}

} // namespace brisko
