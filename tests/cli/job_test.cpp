#include <optional>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "failure.h"
#include "values/job.h"

using namespace opcua_cli;

namespace {

Job jobNamed(const char* given) {
    Job job;
    job.given = given;
    return job;
}

} // namespace

TEST(Job, NotesWhatIsItsOwnProblemAlone) {
    Job job = jobNamed("/A");
    attempt(job, [] { throw nodeFailure("there is no \"A\"", "another name"); });
    ASSERT_TRUE(job.problem);
    EXPECT_EQ(job.problem->explanation, "there is no \"A\"");
    EXPECT_EQ(job.problem->advice, "another name");
}

TEST(Job, LetsThroughWhatConcernsAll) {
    Job job = jobNamed("/A");
    for (const ExitCode code : {ExitCode::Usage, ExitCode::NoConnection, ExitCode::Interrupted}) {
        EXPECT_THROW(attempt(job, [&] { throw Failure(code, {"the end", {}}); }), Failure);
        EXPECT_FALSE(job.problem);
    }
}

TEST(Job, WithAProblemIsPassedOver) {
    Job job = jobNamed("/A");
    job.problem = Problem{"it is gone"};
    bool worked = false;
    attempt(job, [&] { worked = true; });
    EXPECT_FALSE(worked);
    EXPECT_EQ(job.problem->explanation, "it is gone");
}

TEST(Job, ThatWasNotResolvedHasNothingButItsProblemToShow) {
    Job job = jobNamed("/A");
    job.problem = Problem{"there is no \"A\""};
    const Json json = jobJson(job, job.value);
    EXPECT_EQ(json["node"], "/A");
    for (const char* key : {"nodeId", "displayName", "type", "shape", "index", "value"})
        EXPECT_TRUE(json[key].is_null()) << key;
    EXPECT_EQ(json["ok"], false);
    EXPECT_EQ(json["error"]["explanation"], "there is no \"A\"");
}

TEST(Job, ShowsAStatedTypeAndNoneThatIsUnknown) {
    Job job = jobNamed("i=1");
    job.node = unmetNode("i=1", OpcUaDataType_Float);
    job.index = Index{2, 3};
    job.value = NodeValue(Value(1.5F));
    const Json json = jobJson(job, job.value);
    EXPECT_EQ(json["type"], "Float");
    EXPECT_EQ(json["index"], Json({2, 3}));
    EXPECT_EQ(json["value"], 1.5);
    EXPECT_EQ(json["ok"], true);
    EXPECT_TRUE(json["error"].is_null());
    job.node = unmetNode("i=1", std::nullopt);
    EXPECT_TRUE(jobJson(job, job.value)["type"].is_null());
    EXPECT_EQ(jobJson(job, job.value)["nodeId"], "i=1");
}

TEST(Job, ProblemsGiveTheExitCode) {
    Jobs jobs{jobNamed("/A"), jobNamed("/B")};
    EXPECT_EQ(reportProblems(jobs), ExitCode::Success);
    for (Job& job : jobs)
        job.problem = Problem{"it is gone"};
    testing::internal::CaptureStderr();
    EXPECT_EQ(reportProblems(jobs), ExitCode::Failed);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "opcua-cli: /A: it is gone\n")
        << "alike: the first alone";
}
