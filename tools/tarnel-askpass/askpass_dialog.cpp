#include "askpass_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace tarnel {

AskpassDialog::AskpassDialog(const QString& title, const QString& prompt, QWidget* parent)
    : QDialog(parent), passwordField(new QLineEdit(this)) {
    setWindowTitle(title);
    auto* label = new QLabel(prompt, this);
    label->setWordWrap(true);
    passwordField->setEchoMode(QLineEdit::Password);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel | QDialogButtonBox::Ok, this);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(passwordField);
    layout->addWidget(buttons);
    passwordField->setFocus();
}

QString AskpassDialog::password() const {
    return passwordField->text();
}

}  // namespace tarnel
