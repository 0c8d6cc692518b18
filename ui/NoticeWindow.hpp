#pragma once

#include "ui/Look.hpp"

#include <QDialog>
#include <QString>

namespace corvel::ui {

/// Shows why the application does not start, in a window of its own because there is no other one.
class NoticeWindow final : public QDialog {
    Q_OBJECT

public:
    NoticeWindow(const Look& look, const QString& message, const QString& text);
};

}  // namespace corvel::ui
