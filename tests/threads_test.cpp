// Runs side by side: each thread's run works on a model of its own, and the model that single steps share
// belongs to the process and to no run.
#include "plain_run.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace drape_test;

struct Job {
    std::string name;
    Surface surface;
    Settings settings;
};

std::vector<Job> jobs() {
    std::vector<Job> list;
    double degrees = 0.0;
    for (const auto& moulds : {smoothMoulds(), tornMoulds()})
        for (const Mould& mould : moulds) {
            Settings settings = seededAt(mould.surface, mould.seedX, mould.seedY, 0.9, degrees += 7.0);
            settings.capacity = 4000;
            list.push_back({mould.name, mould.surface, settings});
        }
    return list;
}

TEST(Threads, RunsSideBySideGiveWhatEachGivesAlone) {
    const std::vector<Job> list = jobs();
    std::vector<Grid> alone;
    for (const Job& job : list)
        alone.push_back(drape(job.surface, job.settings));

    // Every thread takes all jobs, each from another place on, so that all kinds of runs meet.
    constexpr std::size_t threadCount = 4;
    std::vector<std::string> differences(threadCount);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < threadCount; ++t)
        threads.emplace_back([&, t] {
            for (std::size_t k = 0; k < list.size(); ++k) {
                const std::size_t job = (k + 5 * t) % list.size();
                const std::string difference =
                    firstDifference(drape(list[job].surface, list[job].settings), alone[job]);
                if (!difference.empty())
                    differences[t] += list[job].name + ": " + difference + "\n";
            }
        });
    // Meanwhile single steps go on in this thread, over the process's model.
    const std::string steps =
        firstDifference(plainRun(list.front().surface, list.front().settings).grid, alone.front());
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(steps, "");
    for (const std::string& difference : differences)
        EXPECT_EQ(difference, "");
}

TEST(Threads, ARunLeavesTheRegisteredModelAloneAndAllThreadsReachIt) {
    const std::vector<Job> list = jobs();
    PlainModel model(list[0].surface, list[0].settings);
    model.registerModel();
    const double normal[3] = {0.0, 0.0, 1.0};
    const std::int32_t triangle = 1, none = 0;
    const auto storeOne = [&] {
        EXPECT_EQ(uzprsp(model.settings.seed, normal, &triangle, &none, &none, &none, &none, &none,
                         &model.grid.status),
                  0);
    };
    const Grid run = drape(list[1].surface, list[1].settings);
    storeOne();
    std::thread(storeOne).join();
    EXPECT_EQ(model.grid.count, 2);
    EXPECT_EQ(model.triangle(2), 1);
    EXPECT_EQ(firstDifference(drape(list[1].surface, list[1].settings), run), "");
}

} // namespace
