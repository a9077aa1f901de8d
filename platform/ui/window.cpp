#include "window.h"

#include "AlertController.h"
#include "ViewController.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>

namespace brisko::ui {
namespace {
Window* s_keyWindow = nullptr;

// A phone-sized window on a desktop; the whole screen on a narrow portrait panel.
QSize initialSize() {
    const QSize phone(390, 844);
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QSize available = screen ? screen->availableSize() : QSize();
    const bool narrowPanel =
        available.isValid() && available.width() <= 600 && available.height() > available.width();
    return narrowPanel ? available : phone;
}
} // namespace

Window::Window() : m_window(new QQuickWindow), m_alertLayer(new QQuickItem) {
    m_window->setColor(QColor(0xF2, 0xF2, 0xF7));
    m_window->resize(initialSize());
    m_alertLayer->setParentItem(m_window->contentItem());
    m_alertLayer->setZ(1000);
    QObject::connect(m_window, &QQuickWindow::widthChanged, m_window, [this] { layoutContent(); });
    QObject::connect(m_window, &QQuickWindow::heightChanged, m_window, [this] { layoutContent(); });
    setAlertLayer(m_alertLayer);
}

Window::~Window() {
    if (s_keyWindow == this) s_keyWindow = nullptr;
    delete m_root.data();
    delete m_window;
}

void Window::setRootViewController(ViewController* controller) {
    m_root = controller;
    if (controller) controller->view()->setParentItem(m_window->contentItem());
    layoutContent();
}

void Window::makeKeyAndVisible() {
    s_keyWindow = this;
    m_window->show();
    m_window->requestActivate();
}

QImage Window::grab() {
    return m_window->grabWindow();
}

void Window::layoutContent() {
    const QSizeF size(m_window->width(), m_window->height());
    m_alertLayer->setSize(size);
    if (m_root && m_root->isViewLoaded()) m_root->view()->setSize(size);
}

Window* keyWindow() {
    return s_keyWindow;
}

} // namespace brisko::ui
