#include "askpass_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using tarnel::AskpassDialog;

namespace {

const QString title = QStringLiteral("Homebrew Requires Sudo");
const QString prompt = QStringLiteral(
    "Homebrew needs administrator privileges to complete this operation. Please enter your "
    "account password:");

QPushButton* button(AskpassDialog& dialog, QDialogButtonBox::StandardButton which) {
    return dialog.findChild<QDialogButtonBox*>()->button(which);
}

// Runs the dialog as the program does, with `act` done once it shows.
int runDialog(AskpassDialog& dialog, const std::function<void()>& act) {
    QTimer::singleShot(0, &dialog, act);
    return dialog.exec();
}

}  // namespace

TEST(AskpassDialog, ShowsTheTitleAndThePrompt) {
    AskpassDialog dialog(title, prompt);
    EXPECT_EQ(dialog.windowTitle(), title);
    EXPECT_EQ(dialog.findChild<QLabel*>()->text(), prompt);
}

TEST(AskpassDialog, HidesWhatIsTyped) {
    AskpassDialog dialog(title, prompt);
    EXPECT_EQ(dialog.findChild<QLineEdit*>()->echoMode(), QLineEdit::Password);
}

TEST(AskpassDialog, OffersCancelAndOkWithOkAsDefault) {
    AskpassDialog dialog(title, prompt);
    ASSERT_NE(button(dialog, QDialogButtonBox::Cancel), nullptr);
    ASSERT_NE(button(dialog, QDialogButtonBox::Ok), nullptr);
    EXPECT_TRUE(button(dialog, QDialogButtonBox::Ok)->isDefault());
}

TEST(AskpassDialog, OkAcceptsWithTheTypedPassword) {
    AskpassDialog dialog(title, prompt);
    const int result = runDialog(dialog, [&] {
        QTest::keyClicks(dialog.findChild<QLineEdit*>(), QStringLiteral("s3cret pass"));
        QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
    });
    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_EQ(dialog.password(), QStringLiteral("s3cret pass"));
}

TEST(AskpassDialog, ReturnKeyAcceptsLikeOk) {
    AskpassDialog dialog(title, prompt);
    const int result = runDialog(dialog, [&] {
        QLineEdit* field = dialog.findChild<QLineEdit*>();
        QTest::keyClicks(field, QStringLiteral("typed"));
        QTest::keyClick(field, Qt::Key_Return);
    });
    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_EQ(dialog.password(), QStringLiteral("typed"));
}

TEST(AskpassDialog, CancelRejects) {
    AskpassDialog dialog(title, prompt);
    const int result = runDialog(dialog, [&] {
        QTest::keyClicks(dialog.findChild<QLineEdit*>(), QStringLiteral("unused"));
        QTest::mouseClick(button(dialog, QDialogButtonBox::Cancel), Qt::LeftButton);
    });
    EXPECT_EQ(result, QDialog::Rejected);
}
