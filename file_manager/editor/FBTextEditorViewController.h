#pragma once
// A plain editor for one UTF-8 text file, written back whole and atomically on "保存".
// A file that is not UTF-8 opens read-only so it cannot be saved over; leaving with unsaved
// changes asks first.

#include "platform/ui/ViewController.h"

#include <QtQml/qqmlregistration.h>

namespace brisko {

class FBTextEditorViewController : public brisko::ui::ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Pushed by the file browser")
    Q_PROPERTY(QString filePath READ filePath CONSTANT)
    // The text as read from the file; the view edits its own copy and hands it back to save.
    Q_PROPERTY(QString text READ text NOTIFY loaded)
    Q_PROPERTY(bool readOnly READ readOnly NOTIFY loaded)
    Q_PROPERTY(QString notice READ notice NOTIFY loaded)
    Q_PROPERTY(bool modified READ modified NOTIFY modifiedChanged)
    // The on-screen keyboard's height while it is shown, 0 otherwise.
    Q_PROPERTY(double keyboardInset READ keyboardInset NOTIFY keyboardInsetChanged)

  public:
    explicit FBTextEditorViewController(const QString& path);

    QString filePath() const { return m_filePath; }
    QString text() const { return m_text; }
    bool readOnly() const { return m_readOnly; }
    QString notice() const { return m_notice; }
    bool modified() const { return m_modified; }
    double keyboardInset() const { return m_keyboardInset; }

    void loadFile();
    // The "保存" action: asks the view for its text (saveRequested), which comes back to saveText.
    Q_INVOKABLE void doSave();
    Q_INVOKABLE bool saveText(const QString& text);
    Q_INVOKABLE void textEdited();
    void barItemTapped(const QString& id) override;
    bool shouldPopOnBack() override;

  signals:
    void loaded();
    void modifiedChanged();
    void keyboardInsetChanged();
    void saveRequested();

  protected:
    QUrl viewUrl() const override;
    void viewDidLoad() override;
    virtual void showToast(const QString& text);

  private:
    void setModified(bool modified);
    void kbShow();
    void kbHide();
    void askBeforeLeaving();
    void leave();

    QString m_filePath;
    QString m_text;
    bool m_readOnly = false;
    QString m_notice;
    bool m_modified = false;
    double m_keyboardInset = 0;
};

} // namespace brisko
