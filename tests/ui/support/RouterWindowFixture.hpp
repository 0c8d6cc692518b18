#pragma once

#include "tests/ui/support/ViewProbe.hpp"
#include "tests/ui/support/WindowModelFixture.hpp"
#include "ui/RouterWindow/EndpointColumn.hpp"
#include "ui/RouterWindow/EndpointRow.hpp"
#include "ui/RouterWindow/RouterWindow.hpp"

#include <QAction>
#include <QApplication>
#include <QTest>

#include <memory>
#include <stdexcept>

namespace corvel::tests {

/// The router window in its minimum size over a started model, without an application around it.
class RouterWindowFixture : public WindowModelFixture {
protected:
    RouterWindowFixture() {
        startModel();
        makeWindow();
    }
    RouterWindowFixture(const RouterWindowFixture&) = delete;
    RouterWindowFixture& operator=(const RouterWindowFixture&) = delete;
    // The window is destroyed before the model.
    ~RouterWindowFixture() override { window.reset(); }

    void makeWindow() {
        window = std::make_unique<ui::RouterWindow>(*model, look, clock, QList<QAction*>(), "");
        window->resize(980, 640);
        window->show();
        if (!QTest::qWaitForWindowActive(window.get())) {
            throw std::runtime_error("the window does not become active");
        }
        turn();
    }

    [[nodiscard]] ui::EndpointColumn& column(MIDIEndpointDirection direction) const {
        const auto columns = window->findChildren<ui::EndpointColumn*>();
        const bool isFirstLeft = isLeftOf(*columns.at(0), *columns.at(1));
        return *columns.at(isFirstLeft == (direction == MIDIEndpointDirection::source) ? 0 : 1);
    }
    [[nodiscard]] ui::EndpointColumn& inputs() const { return column(MIDIEndpointDirection::source); }
    [[nodiscard]] ui::EndpointColumn& outputs() const { return column(MIDIEndpointDirection::destination); }

    [[nodiscard]] ui::EndpointRow& row(const ui::EndpointColumn& column, std::size_t index) const {
        return *column.rows().at(index);
    }

    [[nodiscard]] QAbstractButton& button(const QString& name) const { return tests::button(*window, name); }

    std::unique_ptr<ui::RouterWindow> window;
};

}  // namespace corvel::tests
