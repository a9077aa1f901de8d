#pragma once
// The application's one window: the root screen fills it, presented alerts float above.

#include <QImage>
#include <QPointer>

class QQuickItem;
class QQuickWindow;

namespace brisko::ui {

class ViewController;

class Window {
  public:
    Window();
    ~Window();

    void setRootViewController(ViewController* controller);
    ViewController* rootViewController() const { return m_root; }
    void makeKeyAndVisible();

    QQuickWindow* quickWindow() const { return m_window; }
    // Renders the current frame (works offscreen).
    QImage grab();

  private:
    void layoutContent();

    QQuickWindow* m_window;
    QQuickItem* m_alertLayer;
    QPointer<ViewController> m_root;
};

// The window made key last, or null.
Window* keyWindow();

} // namespace brisko::ui
