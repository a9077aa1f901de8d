#include "editor_scenes.h"

#include "app/status/app_references.h"
#include "file_manager/editor/FBTextEditorViewController.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/scenes.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTextCursor>

#include <functional>

namespace brisko {
namespace {

const char kGoSource[] = R"(package main

import (
	"fmt"
	"os"
	"strings"
)

// tapAll taps every point of a route, stopping at the first failure.
func tapAll(route []Point) error {
	for i, p := range route {
		if err := tap(p.X, p.Y); err != nil {
			return fmt.Errorf("tap %d (%d, %d): %w", i, p.X, p.Y, err)
		}
	}
	return nil
}

func main() {
	name := strings.TrimSpace(os.Getenv("ROUTE"))
	if name == "" {
		name = "daily"
	}
	fmt.Println("开始执行:", name)
	if err := tapAll(routes[name]); err != nil {
		fmt.Fprintln(os.Stderr, err)
		os.Exit(1)
	}
}
)";

QString writeSceneFile(const QString& name, const QByteArray& bytes) {
    static QTemporaryDir folder;
    const QString path = folder.filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) file.write(bytes);
    return path;
}

// A binary property list's opening bytes: not UTF-8.
QByteArray binaryPlist() {
    static const char header[] =
        "bplist00\xd4\x01\x02\x03\x04\x05\x06\x07\x0a\x58$version\x59$archiver\xff\xfe";
    return QByteArray(header, sizeof header - 1).repeated(8);
}

ui::SceneSetUp editorScene(const QString& name, const QByteArray& bytes,
                           std::function<void(FBTextEditorViewController*)> then = {}) {
    return [name, bytes, then](QQuickItem*) -> std::function<void()> {
        if (!_rootNav) return {};
        auto* editor = new FBTextEditorViewController(writeSceneFile(name, bytes));
        _rootNav->pushViewController(editor, false);
        if (then) then(editor);
        return [] {
            ui::AlertController* alert = ui::AlertController::topPresented();
            while (alert && alert->tapAction(QStringLiteral("取消")))
                alert = ui::AlertController::topPresented();
            if (_rootNav) _rootNav->popViewControllerAnimated(false);
        };
    };
}

} // namespace

void registerTextEditorScenes() {
    ui::registerScene(QStringLiteral("editor-go-file"), editorScene(QStringLiteral("main.go"), kGoSource));
    ui::registerScene(
        QStringLiteral("editor-unsaved-question"),
        editorScene(QStringLiteral("main.go"), kGoSource, [](FBTextEditorViewController* editor) {
            QTextCursor(editor->document()).insertText(QStringLiteral("// 待办\n"));
            if (_rootNav) _rootNav->backButtonTapped();
        }));
    ui::registerScene(QStringLiteral("editor-binary-refused"),
                      editorScene(QStringLiteral("Info.plist"), binaryPlist()));
}

} // namespace brisko
