#pragma once

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QMenu>
#include <QPoint>
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

/// Moves the mouse to an item and clicks on it. From Qt 6.8 on, a menu takes clicks only after some movements.
inline void choose(QMenu& menu, qsizetype index) {
    constexpr int kMovements = 8;
    const QPoint place = menu.actionGeometry(menu.actions().at(index)).center();
    for (int movement = kMovements; movement >= 0; --movement) {
        QTest::mouseMove(&menu, place - QPoint(movement, 0));
    }
    QTest::mouseClick(&menu, Qt::LeftButton, {}, place);
}

}  // namespace corvel::tests
