#pragma once

#include <QDialog>
#include <QString>

class QLineEdit;

namespace tarnel {

// Asks for the administrator password with a hidden answer, Cancel and OK.
class AskpassDialog : public QDialog {
    Q_OBJECT

public:
    AskpassDialog(const QString& title, const QString& prompt, QWidget* parent = nullptr);

    QString password() const;

private:
    QLineEdit* passwordField;
};

}  // namespace tarnel
