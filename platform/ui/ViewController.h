#pragma once
// A screen: a C++ controller that owns the rules and texts, and a QML view bound to it.

#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class QQuickItem;

namespace brisko::ui {

class AlertController;
class NavigationController;

class ViewController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Screens are made in C++")
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QVariantList rightBarItems READ rightBarItems NOTIFY rightBarItemsChanged)
    Q_PROPERTY(TitleFont titleFont READ titleFont NOTIFY titleChanged)

  public:
    // How the bar draws the title: the system font, or monospaced 15 medium (a file's name).
    enum class TitleFont { Standard, Monospaced };
    Q_ENUM(TitleFont)

    explicit ViewController(QObject* parent = nullptr);
    ~ViewController() override;

    QString title() const { return m_title; }
    void setTitle(const QString& title);
    TitleFont titleFont() const { return m_titleFont; }
    void setTitleFont(TitleFont font);

    // Bar items: maps with "text" or "symbol", "tint" and "id"; a tap calls barItemTapped(id).
    QVariantList rightBarItems() const { return m_rightBarItems; }
    void setRightBarItems(const QVariantList& items);
    Q_INVOKABLE virtual void barItemTapped(const QString& id) { Q_UNUSED(id); }

    // The view, created from viewUrl() on first use with `controller` set to this.
    QQuickItem* view();
    bool isViewLoaded() const { return m_view != nullptr; }

    NavigationController* navigationController() const;
    void present(AlertController* alert);

    // Called by the navigation controller as the view comes and goes.
    virtual void viewDidLoad() {}
    virtual void viewWillAppear(bool animated) { Q_UNUSED(animated); }
    Q_INVOKABLE virtual void viewDidLayoutSubviews() {}
    // The back button asks first; a screen with unsaved work may say no and ask the user.
    virtual bool shouldPopOnBack() { return true; }

  signals:
    void titleChanged();
    void rightBarItemsChanged();

  protected:
    virtual QUrl viewUrl() const;
    // Where a module's view lives: qrc:/Brisko/<Module>/qml/<file>.
    static QUrl moduleViewUrl(const char* module, const char* file);

  private:
    friend class NavigationController;
    QQuickItem* createView();

    QString m_title;
    TitleFont m_titleFont = TitleFont::Standard;
    QVariantList m_rightBarItems;
    QQuickItem* m_view = nullptr;
    QPointer<ViewController> m_navigationController; // the NavigationController holding this
};

} // namespace brisko::ui
