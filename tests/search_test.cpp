// The surface search on both roads, asked what no run happens to ask: balls, circles, directions and points
// behind in any relation to each other. It looks inside the library, where a question can be put by itself.
#include "surface/surface_search.h"

#include "inner_view.h"
#include "surface/run_indices.h"
#include "surfaces.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace drape;
using drape_test::meshOf;
using drape_test::Random;
using drape_test::Surface;

Vec3 within(Random& random, double size) {
    const double x = random.between(-size, size), y = random.between(-size, size),
                 z = random.between(-size, size);
    return {x, y, z};
}

TEST(Search, BothRoadsGiveTheSameAnswerToAnyQuestion) {
    Random random(8);
    int answered = 0, dropped = 0;
    for (int round = 0; round < 60; ++round) {
        Surface surface = round % 3 == 0
                              ? drape_test::squareMould(5.0, 10, drape_test::level)
                              : drape_test::squareMould(5.0, 10, drape_test::doubleDomeHeight(5.0));
        shuffle(surface, random);
        const double tolerance = round % 4 == 0 ? 0.0 : round % 4 == 1 ? 1e-6 : 0.05 * random.unit();
        const OwnModel own;
        model->mesh = meshOf(surface);
        model->tolerance = tolerance;
        SurfaceMesh inner = model->mesh;
        RunIndices indices;
        std::int32_t status = 0;
        ASSERT_TRUE(indices.build(inner, nullptr, tolerance, 2.0, status));
        std::vector<std::int32_t> work(2 * static_cast<std::size_t>(surface.triCount()));

        for (int k = 0; k < 100; ++k) {
            const std::int32_t start = 1 + random.below(surface.triCount());
            const Vec3 centre = inner.corner(start, random.below(3)) +
                                (random.below(2) == 0 ? 0.0 : 0.3) * within(random, 1.0);
            const double radius = random.below(2) == 0 ? 1.0 : random.between(0.3, 2.0);
            Vec3 forward = random.below(2) == 0 ? Vec3{1.0, 0.0, 0.0} : within(random, 1.0);
            // The point behind lies behind, right where the answer would be, or anywhere.
            const double ahead = random.below(2) == 0 ? -radius : random.between(0.5, 1.2) * radius;
            const Vec3 back = centre + ahead * forward + random.between(0.0, 0.2) * within(random, 1.0);
            const CircleSearch asked{centre, {0.0, 0.0, 1.0}, forward, radius, back};
            const Ball ball(centre, radius, tolerance);

            model->mesh = inner;
            SurfacePoint plain, fast;
            CircleSearch question = asked;
            SearchScratch scratch(work.data());
            ASSERT_TRUE(searchSurface(start, &ball, 1, question, scratch, plain, status));
            model->indices = &indices;
            question = asked;
            ASSERT_TRUE(searchSurface(start, &ball, 1, question, indices.scratch, fast, status));
            model->indices = nullptr;

            ASSERT_EQ(fast.triangle, plain.triangle) << "round " << round << " question " << k;
            ASSERT_EQ(cadis(fast.point, plain.point), 0.0) << "round " << round << " question " << k;
            answered += plain.triangle != 0 ? 1 : 0;
            dropped += plain.triangle != 0 && prosca(plain.point - centre, forward) < 0.0 ? 1 : 0;
        }
        indices.release(status);
    }
    EXPECT_GT(answered, 3000);
    EXPECT_GT(dropped, 300);
}

} // namespace
