#include "bundle_workshop.h"
#include "test_property_list.h"

#include "platform/bundle_localized_name.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

QByteArray namesStrings(const QString& displayName) {
    return QStringLiteral("\"CFBundleDisplayName\" = \"%1\";\n").arg(displayName).toUtf8();
}

}  // namespace

TEST(BundleLocalizedName, IsTheFileNameWithoutLocalizations) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));

    EXPECT_EQ(bundleLocalizedName(bundle, {QStringLiteral("de-CH"), QStringLiteral("de")}),
              QStringLiteral("Ice.app"));
}

TEST(BundleLocalizedName, TakesTheDisplayNameOfThePreferredLanguage) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addStrings(bundle, QStringLiteral("fr"), namesStrings(QStringLiteral("Glace")));
    workshop.addStrings(bundle, QStringLiteral("de"), namesStrings(QStringLiteral("Eis")));

    EXPECT_EQ(bundleLocalizedName(bundle, {QStringLiteral("de"), QStringLiteral("fr")}),
              QStringLiteral("Eis"));
    EXPECT_EQ(bundleLocalizedName(bundle, {QStringLiteral("fr"), QStringLiteral("de")}),
              QStringLiteral("Glace"));
}

TEST(BundleLocalizedName, TriesTheRegionThenItsUnderscoreFormThenTheLanguage) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    const QStringList swissGerman{QStringLiteral("de-CH")};
    workshop.addStrings(bundle, QStringLiteral("de"), namesStrings(QStringLiteral("Eis")));
    EXPECT_EQ(bundleLocalizedName(bundle, swissGerman), QStringLiteral("Eis"));

    workshop.addStrings(bundle, QStringLiteral("de_CH"), namesStrings(QStringLiteral("Glace")));
    EXPECT_EQ(bundleLocalizedName(bundle, swissGerman), QStringLiteral("Glace"));

    workshop.addStrings(bundle, QStringLiteral("de-CH"), namesStrings(QStringLiteral("Iis")));
    EXPECT_EQ(bundleLocalizedName(bundle, swissGerman), QStringLiteral("Iis"));
}

TEST(BundleLocalizedName, IgnoresLanguagesTheUserDoesNotPrefer) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addStrings(bundle, QStringLiteral("fr"), namesStrings(QStringLiteral("Glace")));

    EXPECT_EQ(bundleLocalizedName(bundle, {QStringLiteral("de-CH")}), QStringLiteral("Ice.app"));
}

TEST(BundleLocalizedName, TakesTheBundleNameWithoutADisplayName) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addStrings(bundle, QStringLiteral("fr"), "CFBundleName = \"Glace\";\nOther = \"x\";");

    EXPECT_EQ(bundleLocalizedName(bundle, {QStringLiteral("fr")}), QStringLiteral("Glace"));
}

TEST(BundleLocalizedName, MovesOnWhenAStringsFileNamesNothing) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addStrings(bundle, QStringLiteral("de"), "NSHumanReadableCopyright = \"(c)\";");
    workshop.addStrings(bundle, QStringLiteral("fr"), namesStrings(QStringLiteral("Glace")));

    EXPECT_EQ(bundleLocalizedName(bundle, {QStringLiteral("de"), QStringLiteral("fr")}),
              QStringLiteral("Glace"));
}

TEST(BundleLocalizedName, ReadsABinaryStringsFile) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addStrings(
        bundle, QStringLiteral("ja"),
        TestPropertyList().text("CFBundleDisplayName", QStringLiteral("アイス")).binary());

    EXPECT_EQ(bundleLocalizedName(bundle, {QStringLiteral("ja-JP")}), QStringLiteral("アイス"));
}

TEST(BundleLocalizedName, FallsBackToTheFileNameWhenTheStringsFileIsBroken) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addStrings(bundle, QStringLiteral("fr"), "\"CFBundleDisplayName\" = \"Glace");

    EXPECT_EQ(bundleLocalizedName(bundle, {QStringLiteral("fr")}), QStringLiteral("Ice.app"));
}
