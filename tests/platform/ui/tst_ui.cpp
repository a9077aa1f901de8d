// Navigation stack and alert presentation, driven the way screens and tests drive them.

#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest>

using namespace brisko::ui;

namespace {

class Screen : public ViewController {
  public:
    explicit Screen(const QString& name, QStringList* log) : m_log(log) { setTitle(name); }
    void viewDidLoad() override { m_log->append(title() + ":load"); }
    void viewWillAppear(bool) override { m_log->append(title() + ":appear"); }

  private:
    QStringList* m_log;
};

} // namespace

class UiTest : public QObject {
    Q_OBJECT

  private slots:
    void pushAndPopKeepTheStackAndCallTheHooks() {
        QStringList log;
        Window window;
        auto* root = new Screen("root", &log);
        auto* nav = new NavigationController(root);
        window.setRootViewController(nav);
        window.makeKeyAndVisible();
        QCOMPARE(log, QStringList({"root:load", "root:appear"}));
        QCOMPARE(nav->topViewController(), root);
        QCOMPARE(root->navigationController(), nav);

        QPointer<Screen> child = new Screen("child", &log);
        nav->pushViewController(child, false);
        QCOMPARE(nav->topViewController(), child.data());
        QCOMPARE(nav->viewControllers().size(), 2);
        QCOMPARE(nav->backTitle(), QString("root"));
        QVERIFY(child->view()->parentItem() != nullptr);

        nav->popViewControllerAnimated(false);
        QCOMPARE(nav->topViewController(), root);
        QCOMPARE(log.last(), QString("root:appear"));
        QTRY_VERIFY(child.isNull()); // the popped screen is released

        nav->popViewControllerAnimated(false); // the root never leaves
        QCOMPARE(nav->viewControllers().size(), 1);
    }

    void alertsStackAndRunTheirHandlerAfterDismissal() {
        Window window;
        window.setRootViewController(new NavigationController(new ViewController));
        QStringList taps;
        auto* first = new AlertController("first", "one");
        first->addAction("确定", AlertController::ActionStyle::Default, [&](AlertController* a) {
            taps << "first" << QString::number(AlertController::presented().contains(a));
        });
        auto* second = new AlertController("重命名", QString());
        second->addTextField("old.txt", "名称");
        second->addAction("取消", AlertController::ActionStyle::Cancel);
        second->addAction("确定", AlertController::ActionStyle::Default,
                          [&](AlertController* a) { taps << a->textFieldText(0); });
        presentAlert(first);
        presentAlert(second);
        QCOMPARE(AlertController::topPresented(), second);

        second->setTextFieldText(0, "new.txt");
        QVERIFY(!second->tapAction("删除"));
        QVERIFY(second->tapAction("确定"));
        QCOMPARE(AlertController::topPresented(), first);
        QVERIFY(first->tapAction("确定"));
        QCOMPARE(taps, QStringList({"new.txt", "first", "0"}));
        QCOMPARE(AlertController::topPresented(), nullptr);
    }

    void alertViewIsDrawnAboveTheScreen() {
        Window window;
        window.setRootViewController(new NavigationController(new ViewController));
        window.makeKeyAndVisible();
        auto* alert = new AlertController("标题", "内容");
        alert->addAction("确定");
        presentAlert(alert);
        const QList<QQuickItem*> layers = window.quickWindow()->contentItem()->childItems();
        QVERIFY(std::any_of(layers.begin(), layers.end(), [](QQuickItem* layer) {
            return layer->z() >= 1000 && !layer->childItems().isEmpty();
        }));
        alert->tapAction("确定");
    }
};

QTEST_MAIN(UiTest)
#include "tst_ui.moc"
