#pragma once
// A stack of screens under a navigation bar. Owns the controllers pushed on it.

#include "ViewController.h"

#include <QList>

namespace brisko::ui {

class NavigationController : public brisko::ui::ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Screens are made in C++")
    Q_PROPERTY(brisko::ui::ViewController* topController READ topViewController NOTIFY topChanged)
    Q_PROPERTY(QString backTitle READ backTitle NOTIFY topChanged)
    Q_PROPERTY(int depth READ depth NOTIFY topChanged)

  public:
    explicit NavigationController(ViewController* root, QObject* parent = nullptr);

    void pushViewController(ViewController* controller, bool animated = true);
    Q_INVOKABLE void popViewControllerAnimated(bool animated = true);
    // The bar's back button: pops unless the top screen holds it back.
    Q_INVOKABLE void backButtonTapped();
    ViewController* topViewController() const;
    QList<ViewController*> viewControllers() const;

    QString backTitle() const;
    int depth() const { return int(m_stack.size()); }

    // The screen on top decides the status bar's look.
    virtual ViewController* childViewControllerForStatusBarStyle() const { return nullptr; }

  signals:
    void pushed(QQuickItem* item, bool animated);
    void popped(bool animated);
    void topChanged();

  protected:
    QUrl viewUrl() const override;
    void viewDidLoad() override;

  private:
    QList<QPointer<ViewController>> m_stack;
};

} // namespace brisko::ui
