#pragma once

#include "core/routes/ChannelMode.hpp"
#include "core/routes/KeyboardShortcutSpec.hpp"
#include "ui/Look.hpp"

#include <QKeySequence>
#include <QTimer>
#include <QWidget>

#include <optional>

class QKeyEvent;

namespace corvel::ui {

class IconButton;
class LookLabel;
class PopUpButton;
class VerticallyCenteredLabelField;

/// The editor of a channel assignment: its channel and the shortcut that activates it.
///
/// While the focus is in its dialog, every key press that makes a shortcut becomes its shortcut; other keys keep their
/// usual meaning.
class ChannelAssignmentView final : public QWidget {
    Q_OBJECT

public:
    /// A forced channel outside 1 to 16 is shown as "As Is", because the pop-up does not have it.
    ChannelAssignmentView(const Look& look, const ChannelMode& defaultChannelMode,
                          const std::optional<KeyboardShortcutSpec>& defaultShortcut, QWidget* parent = nullptr);

    [[nodiscard]] ChannelMode channelMode() const;
    [[nodiscard]] const std::optional<KeyboardShortcutSpec>& shortcut() const { return shortcut_; }
    void setShortcut(const std::optional<KeyboardShortcutSpec>& shortcut);

    /// The keys that were pressed for the shortcut. The keyboard layout may name them differently from the shortcut's
    /// title.
    [[nodiscard]] const QKeySequence& keys() const { return keys_; }

    /// Shows below the field what else the shortcut means; an empty text shows the hint.
    void setConflict(const QString& conflict);

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void shortcutChanged();

protected:
    void showEvent(QShowEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] bool isOwnWindow(const QObject* watched) const;
    [[nodiscard]] bool captures(const QKeyEvent& event);
    void layOut();
    void showListening();
    void describe();

    const Look& look_;
    LookLabel* channelLabel_;
    LookLabel* shortcutLabel_;
    PopUpButton* channelPicker_;
    VerticallyCenteredLabelField* shortcutField_;
    IconButton* clearButton_;
    LookLabel* conflictField_;
    LookLabel* hintField_;
    std::optional<KeyboardShortcutSpec> shortcut_;
    QKeySequence keys_;
    QTimer takeFocus_;
};

}  // namespace corvel::ui
