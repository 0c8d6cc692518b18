#pragma once

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QMenu>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <chrono>
#include <functional>
#include <stdexcept>

namespace corvel::tests {

/// Opens a menu, calls `use` while it is open, and closes it if it is still open.
inline void withOpenMenu(const std::function<void()>& open, const std::function<void(QMenu& menu)>& use) {
    bool isUsed = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget()); menu != nullptr && !isUsed) {
            isUsed = true;
            use(*menu);
            if (QWidget* const left = QApplication::activePopupWidget(); left != nullptr) {
                left->close();
            }
        }
    });
    timer.start(0);
    open();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while ((!isUsed || QApplication::activePopupWidget() != nullptr) && std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (!isUsed) {
        throw std::runtime_error("no menu opens");
    }
}

[[nodiscard]] inline QStringList titles(const QMenu& menu) {
    QStringList titles;
    for (const QAction* const action : menu.actions()) {
        if (!action->isSeparator()) {
            titles.append(action->text());
        }
    }
    return titles;
}

/// Clicks on an item.
inline void choose(QMenu& menu, qsizetype index) {
    QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(menu.actions().at(index)).center());
}

}  // namespace corvel::tests
