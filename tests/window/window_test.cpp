#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTimer>
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "plant/tags.h"
#include "plant/trend_history.h"
#include "widgets/mimic.h"
#include "window_fixture.h"

using testing::Contains;
using window_panel::Condition;
using window_panel::Tag;
using window_panel::TrendHistory;
using window_test::Window;

namespace {

const QString speedField = QStringLiteral("wanted%1").arg(static_cast<int>(Tag::LineSetPoint));
const QString speedButton = QStringLiteral("write%1").arg(static_cast<int>(Tag::LineSetPoint));

QByteArray contentOf(const std::string& file) {
    QFile opened(QString::fromStdString(file));
    return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
}

QStringList trustedCertificates() {
    return QDir(QCoreApplication::applicationDirPath() + "/pkiclient/trusted/certs").entryList(QDir::Files);
}

std::vector<std::string> textsIn(const QWidget& widget) {
    std::vector<std::string> texts;
    for (const QLabel* label : widget.findChildren<QLabel*>())
        texts.push_back(label->text().toStdString());
    return texts;
}

/// "A1B2 C3D4 ..." of a file's content.
std::string thumbprintOf(const std::string& file) {
    const QByteArray digest = QCryptographicHash::hash(contentOf(file), QCryptographicHash::Sha1);
    QByteArray text = digest.toHex().toUpper();
    for (qsizetype i = text.size() - 4; i > 0; i -= 4)
        text.insert(i, ' ');
    return text.toStdString();
}

} // namespace

TEST_F(Window, ShowsTheCertificateAndAsksWhetherToTrustIt) {
    startPlant();
    openWindow();
    await("question", [this] { return isUsable("trustSheet"); });
    const std::vector<std::string> texts = textsIn(*find("trustSheet"));
    EXPECT_THAT(texts, Contains(thumbprintOf(certificateFile())));
    EXPECT_THAT(texts, Contains("urn:kestrova:plant-server"));
    EXPECT_THAT(texts, Contains("Plant server"));
    EXPECT_THAT(texts, Contains("Kestrova"));
    photograph("window-panel-trust");

    click("trustNever");
    await("refusal", [this] { return isUsable("connect"); });
    EXPECT_TRUE(textOf("state").contains("not trusted")) << textOf("state").toStdString();
    EXPECT_FALSE(picture().isCurrent());

    const qsizetype trustedBefore = trustedCertificates().size();
    click("connect");
    click("trustOnce");
    awaitCurrent();
    EXPECT_EQ(trustedCertificates().size(), trustedBefore);
}

TEST_F(Window, SavesACertificateThatIsTrustedAlways) {
    startPlant();
    const qsizetype trustedBefore = trustedCertificates().size();
    openConnected();
    EXPECT_EQ(trustedCertificates().size(), trustedBefore + 1);
    closeWindow();
    openWindow();
    awaitCurrent();
    EXPECT_EQ(find("trustSheet"), nullptr);
}

TEST_F(Window, ShowsValuesAsTheyChange) {
    startPlant();
    openConnected();
    auto& mimic = *window().findChild<window_panel::Mimic*>();
    const QString text = picture().text(Tag::DrumLevel);
    const QImage image = imageOf(mimic);
    await("another level", [&] { return picture().text(Tag::DrumLevel) != text; });
    EXPECT_NE(imageOf(mimic), image);
    EXPECT_EQ(picture().text(Tag::LineState), "Running");
    EXPECT_EQ(picture().text(Tag::Batch), "B-2041");
    EXPECT_EQ(picture().textWithUnit(Tag::LineSetPoint), QString("1.50 m/s"));
}

TEST_F(Window, LetsOnlyAUserWithHisPasswordOperate) {
    startPlant();
    openConnected();
    EXPECT_FALSE(isUsable(speedButton));
    logIn("wrong");
    await("remark", [this] { return textOf("loginRemark").startsWith("Not logged in"); });
    awaitCurrent();
    type("loginPassword", "plant");
    photograph("window-panel-login");
    click("loginGive");
    await("user", [this] { return textOf("user") == "operator"; });
    await("set point", [this] { return isUsable(speedButton); });
    click("logInOrOut");
    await("nobody", [this] { return textOf("user") != "operator"; });
    await("values of nobody", [this] { return picture().isCurrent(); });
    EXPECT_FALSE(isUsable(speedButton));
}

TEST_F(Window, WritesASetPointOnceItIsConfirmed) {
    startPlant();
    openConnected();
    logIn();
    type(speedField, "2.25");
    click(speedButton);
    await("question", [this] { return isUsable("writeConfirm"); });
    EXPECT_THAT(textsIn(*find("writeSheet")), testing::IsSupersetOf({"1.50 m/s", "2.25 m/s"}));
    click("writeCancel");

    type(speedField, "2.5");
    click(speedButton);
    click("writeConfirm");
    await("first set point of all", [this] { return picture().number(Tag::LineSetPoint) != 1.5; });
    EXPECT_EQ(picture().number(Tag::LineSetPoint), 2.5);
    await("speed", [this] { return picture().text(Tag::LineSpeed) == "2.50"; });
    EXPECT_TRUE(textOf("events").contains("Line 1 speed to 2.50 m/s by operator"))
        << textOf("events").toStdString();
}

TEST_F(Window, IsGreyWhileTheServerIsSilentAndGoesOnWithItsNextWord) {
    startPlant();
    openConnected();
    plant().freeze();
    awaitCurrent(false);
    EXPECT_TRUE(textOf("state").startsWith("No answer from the plant")) << textOf("state").toStdString();
    EXPECT_EQ(picture().condition(Tag::DrumLevel), Condition::Old);

    plant().resume();
    awaitCurrent();
    const QString text = picture().text(Tag::DrumLevel);
    await("another level", [&] { return picture().text(Tag::DrumLevel) != text; });
    EXPECT_NE(picture().condition(Tag::DrumLevel), Condition::Old);
}

TEST_F(Window, ConnectsAgainByItselfAfterARestartOfTheServer) {
    startPlant();
    openConnected();
    plant().kill(SIGKILL);
    awaitCurrent(false);
    await("loss", [this] { return textOf("state").startsWith("No connection"); });
    EXPECT_EQ(picture().condition(Tag::DrumLevel), Condition::Old);

    restartPlant();
    awaitCurrent();
    const QString text = picture().text(Tag::DrumLevel);
    await("another level", [&] { return picture().text(Tag::DrumLevel) != text; });
    EXPECT_EQ(find("trustSheet"), nullptr);
}

TEST_F(Window, MarksAValueThatThePlantNoLongerHas) {
    startPlant();
    openConnected();
    EXPECT_EQ(picture().condition(Tag::FeedFlow), Condition::Normal);
    writeToPlant("ns=3;s=TestRack.Control.DeleteNode", "ns=2;s=Boiler.Feedwater.Flow");
    await("mark", [this] { return picture().condition(Tag::FeedFlow) == Condition::Failed; });
    EXPECT_TRUE(picture().isCurrent());
}

TEST_F(Window, DrawsOnWhileAWriteWaitsForTheServer) {
    startPlant();
    openConnected();
    logIn();
    type(speedField, "2");
    click(speedButton);
    await("question", [this] { return isUsable("writeConfirm"); });
    plant().freeze();
    click("writeConfirm");
    int frames = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++frames; });
    timer.start(20);
    await("frames", [&] { return frames >= 20; });
    EXPECT_FALSE(textOf("events").contains("Line 1 speed to")) << "it can't have been written yet";
    plant().resume();
    await("write", [this] { return textOf("events").contains("Line 1 speed to 2.00 m/s by operator"); });
}

TEST_F(Window, ClosesInFrontOfASilentServer) {
    startPlant();
    openConnected();
    plant().freeze();
    awaitCurrent(false);
    closeWindow();
    plant().resume();
}

TEST_F(Window, ClosesWithAQuestionOpen) {
    startPlant();
    openWindow();
    await("question", [this] { return isUsable("trustSheet"); });
    closeWindow();
    EXPECT_TRUE(plant().running());
}

TEST_F(Window, DrawsTheLastMinuteWithItsTroubles) {
    startPlant();
    openConnected();
    logIn();
    click("span1");
    const auto& points = window().history().pointsOf(Tag::DrumLevel);
    const auto secondsShown = [&] {
        return std::chrono::duration<double>(points.back().time - points.front().time).count();
    };
    await("half a minute", [&] { return secondsShown() > 30; });
    type(speedField, "2.2");
    click(speedButton);
    await("question", [this] { return isUsable("writeConfirm"); });
    photograph("window-panel-write");
    click("writeConfirm");
    await("a minute", [&] { return secondsShown() > 61; });
    await("a calm plant", [this] {
        for (const Tag tag : window_panel::allTags())
            if (picture().condition(tag) != Condition::Normal)
                return false;
        return true;
    });
    photograph("window-panel");

    plant().freeze();
    awaitCurrent(false);
    photograph("window-panel-silent");
    plant().resume();
    awaitCurrent();
    await("high pressure", [this] { return picture().condition(Tag::DrumPressure) == Condition::High; });
    photograph("window-panel-abnormal");
    plant().kill(SIGKILL);
    awaitCurrent(false);
    photograph("window-panel-lost");
}
