#pragma once
// One folder of the Documents tree as a list: folders first, then files. The host of create,
// import, rename, delete and ZIP extraction; folder rows push a further browser.

#include "platform/ui/ViewController.h"

#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace brisko {

class FBFileBrowserViewController : public brisko::ui::ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Pushed by the screen that opens a folder")
    // Item records {"name", "path", "isDir", "detail"} in display order.
    Q_PROPERTY(QVariantList items READ items NOTIFY itemsChanged)
    // The same as the rows draw them: adds "symbol", "tint", "thumbnail" (an image URL or "").
    Q_PROPERTY(QVariantList rows READ rows NOTIFY itemsChanged)
    Q_PROPERTY(QString dirPath READ dirPath CONSTANT)

  public:
    explicit FBFileBrowserViewController(const QString& path, QObject* parent = nullptr);

    QString dirPath() const { return m_dirPath; }
    QVariantList items() const { return m_items; }
    QVariantList rows() const;

    // Rebuilds the records from the folder.
    Q_INVOKABLE void loadContents();
    Q_INVOKABLE void pullToRefresh();
    Q_INVOKABLE void didSelectRow(int row);

    void showCreateMenu();
    void importFile();
    // The picked or dropped files: local paths or file URLs.
    Q_INVOKABLE void importPaths(const QStringList& pathsOrUrls);
    void createItemIsDir(bool isDir);
    Q_INVOKABLE void renameItemAtIndex(int index);
    Q_INVOKABLE void deleteItemAtIndex(int index);
    void showUnzipPromptForItem(const QVariantMap& item);
    void unzipItem(const QVariantMap& item);

    void barItemTapped(const QString& id) override;

  signals:
    void itemsChanged();
    // The view answers with the desktop's file dialog and then importPaths().
    void importRequested();
    // The extraction is over and its result is on screen (not emitted once the browser is gone).
    void unzipFinished(bool ok);

  protected:
    QUrl viewUrl() const override;
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;

    // Ties to the rest of the application, for tests to observe.
    virtual void showToast(const QString& text);
    virtual void showLoading(const QString& text);
    virtual void dismissLoading();
    virtual void pushViewController(ui::ViewController* controller);
    // Where a tap on an editable file goes.
    virtual void openEditableFile(const QVariantMap& item);
    void showInformationAlert(const QVariantMap& item);

  private:
    void collisionAlert();

    QString m_dirPath;
    QVariantList m_items;
};

} // namespace brisko
