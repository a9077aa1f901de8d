#pragma once
// A plain editor for one UTF-8 text file, written back whole and atomically on "保存".
// A file that is not UTF-8 opens read-only so it cannot be saved over; leaving with unsaved
// changes asks first.

#include "file_manager/editor/PlainTextArea.h"
#include "platform/ui/ViewController.h"

#include <QTextDocument>
#include <QtQml/qqmlregistration.h>

namespace brisko {

class FBTextEditorViewController : public brisko::ui::ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Pushed by the file browser")
    Q_PROPERTY(QString filePath READ filePath CONSTANT)
    // The file's text, edited in place by the view; its undo stack is the editor's.
    Q_PROPERTY(QTextDocument* document READ document CONSTANT)
    Q_PROPERTY(bool readOnly READ readOnly NOTIFY loaded)
    Q_PROPERTY(QString notice READ notice NOTIFY loaded)
    Q_PROPERTY(bool modified READ modified NOTIFY modifiedChanged)
    // The on-screen keyboard's height while it is shown, 0 otherwise.
    Q_PROPERTY(double keyboardInset READ keyboardInset NOTIFY keyboardInsetChanged)

  public:
    explicit FBTextEditorViewController(const QString& path);

    QString filePath() const { return m_filePath; }
    QTextDocument* document() { return &m_document; }
    // The document's text with the file's own line breaks.
    QString text() const;
    bool readOnly() const { return m_readOnly; }
    QString notice() const { return m_notice; }
    bool modified() const { return m_document.isModified(); }
    double keyboardInset() const { return m_keyboardInset; }

    void loadFile();
    // The "保存" action; false when nothing was written.
    Q_INVOKABLE bool doSave();
    void barItemTapped(const QString& id) override;
    bool shouldPopOnBack() override;

  signals:
    void loaded();
    void modifiedChanged();
    void keyboardInsetChanged();

  protected:
    QUrl viewUrl() const override;
    void viewDidLoad() override;
    virtual void showToast(const QString& text);

  private:
    void kbShow();
    void kbHide();
    void askBeforeLeaving();
    void leave();

    QString m_filePath;
    QTextDocument m_document;
    QString m_lineBreak = QStringLiteral("\n");
    bool m_readOnly = false;
    QString m_notice;
    double m_keyboardInset = 0;
};

} // namespace brisko
