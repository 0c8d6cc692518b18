#pragma once

#include "app/DocumentEdit.hpp"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <utility>

namespace corvel {

/// The edits that can be undone and redone, the newest last. One thread at a time.
class EditHistory {
public:
    static constexpr std::size_t kLimit = 100;

    /// Adds an edit of the user. Removes the oldest one beyond the limit and all edits that could be redone.
    void record(DocumentEdit edit) {
        redo_.clear();
        push(undo_, std::move(edit));
    }

    /// The name of the edit that would be undone or redone next; no value if there is none.
    [[nodiscard]] std::optional<std::string> undoName() const { return nameOf(undo_); }
    [[nodiscard]] std::optional<std::string> redoName() const { return nameOf(redo_); }

    /// Removes and returns the next edit to be undone or redone. After carrying it out, add its opposite to the other
    /// list.
    [[nodiscard]] std::optional<DocumentEdit> takeUndo() { return take(undo_); }
    [[nodiscard]] std::optional<DocumentEdit> takeRedo() { return take(redo_); }
    void addUndo(DocumentEdit edit) { push(undo_, std::move(edit)); }
    void addRedo(DocumentEdit edit) { push(redo_, std::move(edit)); }

private:
    using Edits = std::deque<DocumentEdit>;

    static void push(Edits& edits, DocumentEdit edit) {
        if (edits.size() == kLimit) {
            edits.pop_front();
        }
        edits.push_back(std::move(edit));
    }

    static std::optional<DocumentEdit> take(Edits& edits) {
        if (edits.empty()) {
            return std::nullopt;
        }
        DocumentEdit edit = std::move(edits.back());
        edits.pop_back();
        return edit;
    }

    static std::optional<std::string> nameOf(const Edits& edits) {
        return edits.empty() ? std::nullopt : std::optional(edits.back().name);
    }

    Edits undo_;
    Edits redo_;
};

}  // namespace corvel
