#include "ui/RouterWindow/RouteGraphAccessible.hpp"

#include "core/support/UUID.hpp"
#include "ui/RouterWindow/HiddenEndsButton.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"

#include <QAccessible>
#include <QAccessibleWidget>

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace corvel::ui {

namespace {

/// One line, while its connection is in the list. The stage's interface owns it.
class RouteLineAccessible final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    RouteLineAccessible(RouteGraph& graph, const UUID& routeID) : graph_(graph), routeID_(routeID) {}

    [[nodiscard]] bool isValid() const override { return std::ranges::count(graph_.routeIDs(), routeID_) > 0; }
    [[nodiscard]] QObject* object() const override { return nullptr; }
    [[nodiscard]] QWindow* window() const override { return graph_.window()->windowHandle(); }
    [[nodiscard]] QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(&graph_);
    }
    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    [[nodiscard]] QAccessibleInterface* childAt(int, int) const override { return nullptr; }

    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? graph_.routeName(routeID_) : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Button; }

    [[nodiscard]] QRect rect() const override {
        const QRect inside = graph_.routeRect(routeID_);
        return {graph_.mapToGlobal(inside.topLeft()), inside.size()};
    }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state;
        state.selectable = 1U;
        state.selected = graph_.isSelected(routeID_) ? 1U : 0U;
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }
    [[nodiscard]] QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override {
        if (name == pressAction()) {
            graph_.selectRoute(routeID_);
        }
    }
    [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    RouteGraph& graph_;
    const UUID routeID_;
};

/// The stage with its lines in list order. Without lines it has the placeholder's text, like any widget.
class RouteGraphAccessible final : public QAccessibleWidget {
public:
    explicit RouteGraphAccessible(RouteGraph* graph) : QAccessibleWidget(graph, QAccessible::Grouping) {}
    RouteGraphAccessible(const RouteGraphAccessible&) = delete;
    RouteGraphAccessible& operator=(const RouteGraphAccessible&) = delete;
    RouteGraphAccessible(RouteGraphAccessible&&) = delete;
    RouteGraphAccessible& operator=(RouteGraphAccessible&&) = delete;

    [[nodiscard]] int childCount() const override {
        const auto count = static_cast<int>(graph().routeIDs().size());
        return count > 0 ? count + static_cast<int>(graph().edges().shown().size()) : 1;
    }

    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        const std::vector<UUID> ids = graph().routeIDs();
        if (ids.empty()) {
            return QAccessibleWidget::child(index);
        }
        if (index < 0 || index >= childCount()) {
            return nullptr;
        }
        if (index >= static_cast<int>(ids.size())) {
            return QAccessible::queryAccessibleInterface(
                graph().edges().shown()[static_cast<std::size_t>(index) - ids.size()]);
        }
        forgetAllBut(ids);
        return lineOf(ids[static_cast<std::size_t>(index)]);
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        for (int index = 0; index < childCount(); ++index) {
            if (this->child(index) == child) {
                return index;
            }
        }
        return -1;
    }

    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
        const RouteLine* const line = graph().lines().at(graph().mapFromGlobal(QPointF(x, y)));
        return line != nullptr ? lineOf(line->routeID) : QAccessibleWidget::childAt(x, y);
    }

protected:
    ~RouteGraphAccessible() override { forgetAllBut({}); }

private:
    [[nodiscard]] RouteGraph& graph() const { return *static_cast<RouteGraph*>(object()); }

    [[nodiscard]] QAccessibleInterface* lineOf(const UUID& routeID) const {
        const auto [found, isNew] = lines_.try_emplace(routeID);
        if (isNew) {
            found->second = QAccessible::registerAccessibleInterface(new RouteLineAccessible(graph(), routeID));
        }
        return QAccessible::accessibleInterface(found->second);
    }

    void forgetAllBut(const std::vector<UUID>& routeIDs) const {
        std::erase_if(lines_, [&routeIDs](const auto& line) {
            const bool isGone = std::ranges::count(routeIDs, line.first) == 0;
            if (isGone) {
                QAccessible::deleteAccessibleInterface(line.second);
            }
            return isGone;
        });
    }

    mutable std::unordered_map<UUID, QAccessible::Id> lines_;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    auto* const graph = qobject_cast<RouteGraph*>(object);
    return graph != nullptr ? new RouteGraphAccessible(graph) : nullptr;
}

}  // namespace

void announceRouteLines(RouteGraph& graph, const std::vector<UUID>& routeIDs, QAccessible::Event what) {
    if (!QAccessible::isActive()) {
        return;
    }
    const QAccessibleInterface* const stage = QAccessible::queryAccessibleInterface(&graph);
    for (const UUID& id : routeIDs) {
        const auto index = std::ranges::find(graph.routeIDs(), id) - graph.routeIDs().begin();
        if (QAccessibleInterface* const line = stage->child(static_cast<int>(index)); line != nullptr) {
            QAccessibleEvent event(line, what);
            QAccessible::updateAccessibility(&event);
        }
    }
}

void installRouteGraphAccessibility() {
    // The toolkit ignores a factory that it already has.
    QAccessible::installFactory(makeInterface);
}

}  // namespace corvel::ui
