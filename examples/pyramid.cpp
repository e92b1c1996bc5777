// Drapes a low pyramid, arrays held in vectors, and prints its steepest node.
#include <drape.h>

#include <algorithm>
#include <cstdio>
#include <vector>

int main() {
    const std::vector<double> vertPos = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0.5, 0.5, 0.2};
    const std::vector<int32_t> triVerts = {1, 2, 5, 2, 3, 5, 3, 4, 5, 4, 1, 5},
                               vertBoundary = {1, 1, 1, 1, 0};
    const std::vector<int32_t> vertTriStart = {0, 2, 4, 6, 8},
                               vertTriList = {1, 4, 1, 2, 2, 3, 3, 4, 1, 2, 3, 4};
    const int32_t triCount = 4, vertCount = 5, vertTriCount = 12, capacity = 1000, byGridLine = 1,
                  reserved = 0;
    const double seed[] = {0.5, 0.5, 0.2}, warp[] = {1, 0, 0}, weft[] = {0, 1, 0}, step = 0.1,
                 tolerance = 1e-6;

    std::vector<int32_t> link1(capacity), link2(capacity), link3(capacity), link4(capacity);
    std::vector<int32_t> nodeI(capacity), nodeJ(capacity), nodeStatus(capacity), nodeTri(capacity);
    std::vector<double> nodePos(3 * capacity), nodeFlat(2 * capacity), nodeNormal(3 * capacity);
    int32_t nodeCount = 0, status = 0;
    gzprp2(seed, warp, weft, &step, &step, link3.data(), link1.data(), link2.data(), link4.data(),
           nodeI.data(), nodeJ.data(), nodeStatus.data(), nodeTri.data(), nodePos.data(), nodeFlat.data(),
           nodeNormal.data(), &capacity, &reserved, &triCount, &vertCount, &vertTriCount, vertTriStart.data(),
           vertTriList.data(), triVerts.data(), vertPos.data(), vertBoundary.data(), &nodeCount, &tolerance,
           &byGridLine, &status);

    double lowest = 1.0;
    for (int32_t n = 0; n < nodeCount; ++n)
        lowest = std::min(lowest, nodeNormal[static_cast<std::size_t>(3 * n + 2)]);
    std::printf("status %d: %d nodes, steepest normal has z %.3f\n", status, nodeCount, lowest);
    return status == DRAPE_OK ? 0 : 1;
}
