#include "FBTextEditorViewController.h"

#include "app/feedback/feedback.h"
#include "file_manager/editor/editor_category.h"
#include "file_manager/editor/text_file.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QInputMethod>

namespace brisko {

namespace {
inline const QString kSaveItem = QStringLiteral("save");
} // namespace

FBTextEditorViewController::FBTextEditorViewController(const QString& path) : m_filePath(path) {
    setTitle(QFileInfo(path).fileName());
    QInputMethod* inputMethod = QGuiApplication::inputMethod();
    auto follow = [this, inputMethod] { inputMethod->isVisible() ? kbShow() : kbHide(); };
    connect(inputMethod, &QInputMethod::visibleChanged, this, follow);
    connect(inputMethod, &QInputMethod::keyboardRectangleChanged, this, follow);
}

QUrl FBTextEditorViewController::viewUrl() const {
    return moduleViewUrl("TextEditor", "TextEditorView.qml");
}

void FBTextEditorViewController::viewDidLoad() {
    loadFile();
}

void FBTextEditorViewController::loadFile() {
    TextFileContents contents = loadTextFile(m_filePath);
    m_text = std::move(contents.text);
    m_readOnly = contents.status == TextFileContents::Status::NotUtf8;
    m_notice = m_readOnly ? QStringLiteral("此文件不是 UTF-8 文本，无法编辑。为免损坏文件，已禁止保存。")
                          : QString();
    setRightBarItems(m_readOnly ? QVariantList()
                                : QVariantList{QVariantMap{{"text", QStringLiteral("保存")},
                                                           {"tint", "systemGreen"},
                                                           {"id", kSaveItem}}});
    setModified(false);
    emit loaded();
}

void FBTextEditorViewController::barItemTapped(const QString& id) {
    if (id == kSaveItem) doSave();
}

void FBTextEditorViewController::doSave() {
    if (m_readOnly) {
        qCDebug(lcEditor) << "refusing to save over" << m_filePath;
        return;
    }
    emit saveRequested();
}

bool FBTextEditorViewController::saveText(const QString& text) {
    if (m_readOnly) return false;
    const QString error = saveTextFile(m_filePath, text);
    if (!error.isEmpty()) {
        auto* alert = new ui::AlertController(QStringLiteral("保存失败"), error);
        alert->addAction(QStringLiteral("确定"));
        present(alert);
        return false;
    }
    setModified(false);
    showToast(QStringLiteral("已保存"));
    return true;
}

void FBTextEditorViewController::textEdited() {
    if (!m_readOnly) setModified(true);
}

void FBTextEditorViewController::setModified(bool modified) {
    if (m_modified == modified) return;
    m_modified = modified;
    emit modifiedChanged();
}

bool FBTextEditorViewController::shouldPopOnBack() {
    if (!m_modified) return true;
    askBeforeLeaving();
    return false;
}

void FBTextEditorViewController::askBeforeLeaving() {
    auto* alert = new ui::AlertController(QStringLiteral("尚未保存"),
                                          QStringLiteral("“%1”有未保存的修改。").arg(title()));
    alert->addAction(QStringLiteral("保存"), ui::AlertController::ActionStyle::Default, [this](auto*) {
        doSave();
        if (!m_modified) leave();
    });
    alert->addAction(QStringLiteral("不保存"), ui::AlertController::ActionStyle::Destructive, [this](auto*) {
        setModified(false);
        leave();
    });
    alert->addAction(QStringLiteral("取消"), ui::AlertController::ActionStyle::Cancel);
    present(alert);
}

void FBTextEditorViewController::leave() {
    if (ui::NavigationController* nav = navigationController()) nav->popViewControllerAnimated(true);
}

void FBTextEditorViewController::showToast(const QString& text) {
    if (QQuickItem* host = isViewLoaded() ? view() : nullptr) BKShowToast(host, text);
}

void FBTextEditorViewController::kbShow() {
    const double height = QGuiApplication::inputMethod()->keyboardRectangle().height();
    if (m_keyboardInset == height) return;
    m_keyboardInset = height;
    emit keyboardInsetChanged();
}

void FBTextEditorViewController::kbHide() {
    if (m_keyboardInset == 0) return;
    m_keyboardInset = 0;
    emit keyboardInsetChanged();
}

} // namespace brisko
