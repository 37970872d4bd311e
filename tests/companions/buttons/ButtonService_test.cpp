#include "tests/companions/buttons/FakeDesk.h"

namespace trigora::buttons {
namespace {

using test::Lines;

const std::string flat = "genesys:1";
const std::string second = "genesys:2";
const std::string feeder = "hp5590:3";

class ButtonServiceTest : public FakeDesk {};

TEST_F(ButtonServiceTest, LetsTheScannerGoBeforeItSendsAndTakesItUpAfterTheScan) {
    watch({flat});
    press(flat);
    EXPECT_EQ(done(), (Lines{"let go genesys:1"}));
    close(flat);
    EXPECT_EQ(done(), (Lines{"send V genesys:1 1"}));
    foreignOpen(flat); // the scan assistant
    loop.advance(20);
    foreignClose(flat);
    loop.advance(20);
    EXPECT_EQ(done(), Lines{}) << "the agent is not done yet";
    finishScan();
    EXPECT_EQ(done(), (Lines{"hold genesys:1"}));
    openAndRead(flat);
    loop.advance(5);
    press(flat);
    EXPECT_EQ(done(), (Lines{"let go genesys:1"}));
}

TEST_F(ButtonServiceTest, AReaderThatDoesNotLetGoIsEnded) {
    watch({flat});
    press(flat);
    loop.advance(1.1);
    EXPECT_EQ(done(), (Lines{"let go genesys:1", "end genesys:1", "send V genesys:1 1"}));
}

TEST_F(ButtonServiceTest, AnAgentThatNeverFinishesIsWaitedForAsLongAsTheScannerIsInUse) {
    watch({flat, feeder});
    press(flat);
    close(flat);
    foreignOpen(flat);
    done();
    loop.advance(600);
    press(feeder);
    EXPECT_EQ(done(), Lines{}) << "a long scan";
    foreignClose(flat);
    loop.advance(31);
    EXPECT_EQ(done(), (Lines{"let go hp5590:3", "hold genesys:1", "end hp5590:3", "send V hp5590:3 1"}));
}

TEST_F(ButtonServiceTest, PressesDuringAScanAreKeptInOrderForAMinute) {
    watch({flat, feeder});
    press(flat);
    close(flat);
    EXPECT_EQ(done(), (Lines{"let go genesys:1", "send V genesys:1 1"}));
    loop.advance(10);
    press(feeder);
    hold(feeder).read({"none"});
    loop.advance(5);
    hold(feeder).read({"copy"});
    loop.advance(5);
    EXPECT_EQ(done(), Lines{}) << "the agent is at work";
    finishScan();
    EXPECT_EQ(done(), (Lines{"let go hp5590:3", "hold genesys:1"}));
    close(feeder);
    EXPECT_EQ(done(), (Lines{"send V hp5590:3 1"}));
    finishScan();
    EXPECT_EQ(done(), (Lines{"send V hp5590:3 2"})) << "the scanner is free already";
    finishScan();
    done();

    openAndRead(flat);
    openAndRead(feeder);
    press(flat);
    close(flat);
    loop.advance(5);
    press(feeder);
    done();
    loop.advance(61);
    EXPECT_EQ(done(), (Lines{"tell Message.PressDropped.AgentBusy"})) << "the next scan takes too long";
    finishScan();
    EXPECT_EQ(done(), (Lines{"hold genesys:1"})) << "and it does not come later";
}

TEST_F(ButtonServiceTest, WhatTheAgentBeginsWithoutUsIsNotDisturbed) {
    watch({flat});
    notifications.receive("ReplyScannerConfirmationDistributedNotification");
    press(flat);
    EXPECT_EQ(done(), Lines{});
    finishScan();
    EXPECT_EQ(done(), (Lines{"let go genesys:1"}));
    notifications.receive("ReplyScanDistributedNotification"); // while the scanner is being closed
    close(flat);
    EXPECT_EQ(done(), (Lines{"hold genesys:1"}));
    finishScan();
    EXPECT_EQ(done(), (Lines{"end genesys:1", "send V genesys:1 1"}));
}

TEST_F(ButtonServiceTest, WithoutAnAgentPressesAreKeptThenTold) {
    watch({flat});
    appleEvents.isAnybodyPresent = false;
    press(flat);
    loop.advance(30);
    EXPECT_EQ(done(), Lines{});
    appleEvents.isAnybodyPresent = true;
    service->agentChanged(true);
    close(flat);
    EXPECT_EQ(done(), (Lines{"let go genesys:1", "send V genesys:1 1"}));
    appleEvents.isAnybodyPresent = false;
    service->agentChanged(false); // it dies with the press
    EXPECT_EQ(done(), (Lines{}));
    openAndRead(flat);
    loop.advance(5);
    press(flat);
    loop.advance(61);
    EXPECT_EQ(done(), (Lines{"hold genesys:1", "tell Message.PressDropped.AgentMissing"}));
    appleEvents.isAnybodyPresent = true;
    service->agentChanged(true);
    EXPECT_EQ(done(), Lines{});
}

TEST_F(ButtonServiceTest, AFloodOfPressesIsHeldOff) {
    watch({flat});
    appleEvents.isAnybodyPresent = false;
    for (int i = 0; i < 12; ++i) {
        press(flat);
        loop.advance(1);
        hold(flat).read({"0", "0"});
        loop.advance(1);
    }
    EXPECT_EQ(done(), (Lines{"tell Message.PressDropped.TooMany", "tell Message.PressDropped.TooMany"}));
}

TEST_F(ButtonServiceTest, IsNeverInTheWayOfAnotherProgram) {
    watch({flat});
    foreignOpen(flat);
    EXPECT_EQ(done(), (Lines{"let go genesys:1"}));
    loop.advance(0.06);
    EXPECT_EQ(done(), (Lines{"end genesys:1"})) << "in the middle of a reading";
    loop.advance(300);
    EXPECT_EQ(done(), Lines{}) << "it has the scanner";
    const std::size_t timers = loop.timerCount();
    EXPECT_EQ(timers, 0U) << "and nobody wakes up for it";
    foreignClose(flat);
    loop.advance(2);
    foreignOpen(flat);
    foreignClose(flat);
    loop.advance(2.9);
    EXPECT_EQ(done(), Lines{});
    loop.advance(0.2);
    EXPECT_EQ(done(), (Lines{"hold genesys:1"}));
    foreignOpen(flat);
    EXPECT_EQ(done(), (Lines{"end genesys:1"})) << "while we open it";
    foreignClose(flat);
    loop.advance(4);
    EXPECT_EQ(done(), (Lines{"hold genesys:1"}));
    nodeOpened(flat); // by our own opening
    nodeClosed(flat);
    openAndRead(flat);
    EXPECT_EQ(done(), Lines{});
}

TEST_F(ButtonServiceTest, WhoOpenedWhileWeOpenedIsSeen) {
    service->start(true);
    find({scanner(flat)});
    foreignOpen(flat);
    EXPECT_EQ(done(), (Lines{"look", "hold genesys:1", "end genesys:1"})) << "when it is told";
    foreignClose(flat);
    loop.advance(4);
    foreign.insert("node of genesys:1");
    hold(flat).open();
    EXPECT_EQ(done(), (Lines{"hold genesys:1", "let go genesys:1"}))
        << "when it was taken for our own opening";
}

TEST_F(ButtonServiceTest, OneScannerIsOpenedAtATime) {
    service->start(true);
    find({scanner(flat, "A"), scanner(second, "B"), scanner(feeder, "C")});
    EXPECT_EQ(done(), (Lines{"look", "hold genesys:1"}));
    openAndRead(flat);
    EXPECT_EQ(done(), (Lines{"hold genesys:2"}));
    hold(second).end({.refusal = Refusal::busy, .words = "busy"});
    loop.advance(0.1);
    EXPECT_EQ(done(), (Lines{"hold hp5590:3"}));
    EXPECT_TRUE(isHeld(flat));
}

TEST_F(ButtonServiceTest, AScannerThatCannotBeOpenedIsTriedAgainForEver) {
    const std::pair<Refusal, const char*> refusals[] = {
        {Refusal::busy, "Device busy"}, {Refusal::accessDenied, "denied"}, {Refusal::failed, "it crashed"}};
    service->start(true);
    find({scanner(flat)});
    double waited = 0;
    for (int i = 0; i < 30; ++i) {
        const auto& [refusal, words] = refusals[i % 3];
        done();
        hold(flat).end({.refusal = refusal, .words = words});
        const double before = clock.monotonicSeconds();
        while (!isHeld(flat)) {
            loop.advance(0.5);
            ASSERT_LT(clock.monotonicSeconds() - before, 61) << i;
        }
        waited = clock.monotonicSeconds() - before;
    }
    EXPECT_GT(waited, 59) << "but not all the time";
    openAndRead(flat);
    hold(flat).end({.words = "the reader crashed"});
    loop.advance(1.1);
    EXPECT_TRUE(isHeld(flat)) << "a scanner that worked in between is tried at once";
    hold(flat).end({.refusal = Refusal::accessDenied, .words = "denied"});
    loop.advance(0.01);
    EXPECT_FALSE(isHeld(flat));
    nodeChanged(flat);
    loop.advance(0.01);
    EXPECT_TRUE(isHeld(flat)) << "the user was given the right";
}

TEST_F(ButtonServiceTest, ABackEndThatHangsWhileLookedAtDoesNotHideTheOthers) {
    service->start(true);
    failLook(second);
    EXPECT_EQ(done(), (Lines{"look", "look"}));
    EXPECT_EQ(known_, (Lines{second})) << "it is passed over";
    find({scanner(flat)});
    openAndRead(flat);
    EXPECT_EQ(done(), (Lines{"hold genesys:1"}));
    service->plugged();
    loop.advance(1.1);
    int looks = 0;
    for (; isLooking() && looks < 10; ++looks) {
        failLook("bad:" + std::to_string(looks));
    }
    EXPECT_EQ(looks, 3) << "and it does not go on for ever";
}

TEST_F(ButtonServiceTest, LooksOnlyAfterAPlugAndKeepsWhatItHas) {
    watch({flat});
    loop.advance(10000);
    EXPECT_EQ(done(), Lines{});
    service->plugged();
    service->plugged();
    loop.advance(1.1);
    EXPECT_EQ(done(), (Lines{"look"}));
    EXPECT_EQ(known_, (Lines{flat}));
    EXPECT_TRUE(isHeld(flat));
    service->plugged(); // while it looks
    loop.advance(1.1);
    find({scanner(second)});
    EXPECT_TRUE(isLooking()) << "once more for what came meanwhile";
    find({});
    EXPECT_EQ(done(), (Lines{"look", "hold genesys:2"}));
}

TEST_F(ButtonServiceTest, UnpluggingEndsTheReaderWhateverItDoes) {
    watch({flat});
    service->unplugged("node of genesys:1"); // while open
    EXPECT_EQ(done(), (Lines{"end genesys:1"}));
    EXPECT_EQ(loop.timerCount(), 0U) << "nobody wakes up without a scanner";

    service->plugged();
    loop.advance(1.1);
    service->unplugged("node of genesys:1"); // while being looked for
    find({});
    EXPECT_EQ(done(), (Lines{"look"}));

    service->plugged();
    loop.advance(1.1);
    find({scanner(second)});
    hold(second).open();
    hold(second).read({"1", "0"});
    loop.advance(1);
    EXPECT_EQ(done(), (Lines{"look", "hold genesys:2"})) << "pressed when plugged in";
    hold(second).read({"0", "0"});
    loop.advance(1);
    press(second);
    service->unplugged("node of genesys:2"); // between the press and its event
    EXPECT_EQ(done(), (Lines{"let go genesys:2", "end genesys:2", "send V M 1"}));

    service->plugged(); // while scanning
    loop.advance(1.1);
    find({scanner(flat)});
    openAndRead(flat);
    loop.advance(1);
    press(flat);
    finishScan();
    EXPECT_EQ(done(), (Lines{"look", "hold genesys:1", "let go genesys:1"})) << "nothing is lost after it";
}

TEST_F(ButtonServiceTest, ReadsOnlyWhileTheUserIsAtTheDesk) {
    service->start(false);
    find({scanner(flat)});
    EXPECT_EQ(done(), (Lines{"look"}));
    service->seatChanged(true);
    openAndRead(flat);
    service->seatChanged(false);
    EXPECT_EQ(done(), (Lines{"hold genesys:1", "let go genesys:1"}));
    close(flat);
    loop.advance(100);
    EXPECT_EQ(done(), Lines{});
    service->seatChanged(true);
    loop.advance(0.01);
    hold(flat).open();
    hold(flat).read({"1", "0"});
    loop.advance(1);
    EXPECT_EQ(done(), (Lines{"hold genesys:1"})) << "somebody else's press";
}

TEST_F(ButtonServiceTest, TellsWhyAScannerIsNotWatched) {
    FoundScanner denied = scanner("genesys:9", "A");
    denied.refusal = Refusal::accessDenied;
    FoundScanner without = scanner("test:0", "B");
    FoundScanner unknown = scanner("genesys:8", "C");
    unknown.node.clear();
    service->start(true);
    find({denied, without, unknown, scanner(flat, "D")});
    const Dictionary status = service->status();
    const std::pair<const char*, const char*> expected[] = {
        {"genesys:9", "you are not allowed to use it"},
        {"test:0", "it has no sensor that is known as a button"},
        {"genesys:8",
         "its device node is not known, so that nobody could tell when another program wants it"},
        {"genesys:1", ""},
    };
    const auto scanners = platform::arrayAt(status, "scanners");
    ASSERT_TRUE(scanners);
    ASSERT_EQ(scanners->size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const Dictionary& entry = *(*scanners)[i].dictionary();
        EXPECT_EQ(platform::textAt(entry, "device"), expected[i].first);
        EXPECT_EQ(platform::textAt(entry, "reason"), expected[i].second);
    }
    done();
    nodeChanged("genesys:9");
    openAndRead(flat);
    loop.advance(2);
    EXPECT_EQ(done(), (Lines{})) << "while a scanner is being opened, its node's changes are our own";
    nodeChanged("genesys:9");
    loop.advance(2);
    EXPECT_EQ(done(), (Lines{"look"})) << "the user was given the right";
}

TEST_F(ButtonServiceTest, FortyScannersWithLongNamesAreAllWatched) {
    service->start(true);
    std::vector<FoundScanner> scanners;
    for (int i = 0; i < 40; ++i) {
        scanners.push_back(
            scanner("genesys:" + std::string(180, 'd') + std::to_string(i), std::string(200, 'm')));
    }
    find(scanners);
    for (const FoundScanner& each : scanners) {
        openAndRead(each.device);
    }
    loop.advance(1);
    done();
    press(scanners[39].device);
    close(scanners[39].device);
    EXPECT_EQ(done().back(), "send V " + std::string(30, 'm') + " 1") << "cut to what an event holds";
    for (std::size_t i = 0; i < 39; ++i) {
        EXPECT_TRUE(isHeld(scanners[i].device)) << i;
    }
}

} // namespace
} // namespace trigora::buttons
