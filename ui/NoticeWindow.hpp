#pragma once

#include "ui/Look.hpp"

#include <QDialog>
#include <QString>

namespace corvel::ui {

/// Says why the application does not start: a window of its own, for want of another one.
class NoticeWindow final : public QDialog {
    Q_OBJECT

public:
    NoticeWindow(const Look& look, const QString& message, const QString& text);
};

}  // namespace corvel::ui
