#include "FBTextEditorViewController.h"

#include "app/feedback/feedback.h"
#include "file_manager/editor/LineDocumentLayout.h"
#include "file_manager/editor/editor_category.h"
#include "file_manager/editor/text_file.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QInputMethod>
#include <QTextOption>

namespace brisko {

namespace {
inline const QString kSaveItem = QStringLiteral("save");

QFont editorFont() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(13.5 * 72 / 96); // 13.5 device-independent pixels
    return font;
}

// A file whose first line ends in CRLF is written back with CRLF.
QString lineBreakOf(const QString& text) {
    const qsizetype newline = text.indexOf(QLatin1Char('\n'));
    return newline > 0 && text[newline - 1] == QLatin1Char('\r') ? QStringLiteral("\r\n")
                                                                 : QStringLiteral("\n");
}
} // namespace

FBTextEditorViewController::FBTextEditorViewController(const QString& path) : m_filePath(path) {
    setTitle(QFileInfo(path).fileName());
    setTitleFont(TitleFont::Monospaced);
    // Set up before any text goes in: this layout lays out only the lines drawn.
    m_document.setDocumentLayout(new LineDocumentLayout(&m_document));
    m_document.setDocumentMargin(0);
    m_document.setDefaultFont(editorFont());
    QTextOption option = m_document.defaultTextOption();
    option.setWrapMode(QTextOption::NoWrap);
    option.setTabStopDistance(4 * QFontMetricsF(editorFont()).horizontalAdvance(QLatin1Char(' ')));
    m_document.setDefaultTextOption(option);
    connect(&m_document, &QTextDocument::modificationChanged, this,
            &FBTextEditorViewController::modifiedChanged);
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
    m_lineBreak = lineBreakOf(contents.text);
    m_document.setPlainText(contents.text);
    m_document.clearUndoRedoStacks();
    m_document.setModified(false);
    m_readOnly = contents.status == TextFileContents::Status::NotUtf8;
    m_notice = m_readOnly ? QStringLiteral("此文件不是 UTF-8 文本，无法编辑。为免损坏文件，已禁止保存。")
                          : QString();
    setRightBarItems(m_readOnly ? QVariantList()
                                : QVariantList{QVariantMap{{"text", QStringLiteral("保存")},
                                                           {"tint", "systemGreen"},
                                                           {"id", kSaveItem}}});
    emit loaded();
}

void FBTextEditorViewController::barItemTapped(const QString& id) {
    if (id == kSaveItem) doSave();
}

QString FBTextEditorViewController::text() const {
    // The raw text: toPlainText() would turn no-break spaces into spaces.
    return m_document.toRawText().replace(QChar::ParagraphSeparator, m_lineBreak);
}

bool FBTextEditorViewController::doSave() {
    if (m_readOnly) {
        qCDebug(lcEditor) << "refusing to save over" << m_filePath;
        return false;
    }
    const QString error = saveTextFile(m_filePath, text());
    if (!error.isEmpty()) {
        auto* alert = new ui::AlertController(QStringLiteral("保存失败"), error);
        alert->addAction(QStringLiteral("确定"));
        present(alert);
        return false;
    }
    m_document.setModified(false);
    showToast(QStringLiteral("已保存"));
    return true;
}

bool FBTextEditorViewController::shouldPopOnBack() {
    if (!modified()) return true;
    askBeforeLeaving();
    return false;
}

void FBTextEditorViewController::askBeforeLeaving() {
    auto* alert = new ui::AlertController(QStringLiteral("尚未保存"),
                                          QStringLiteral("“%1”有未保存的修改。").arg(title()));
    alert->addAction(QStringLiteral("保存"), ui::AlertController::ActionStyle::Default, [this](auto*) {
        if (doSave()) leave();
    });
    alert->addAction(QStringLiteral("不保存"), ui::AlertController::ActionStyle::Destructive, [this](auto*) {
        m_document.setModified(false);
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
