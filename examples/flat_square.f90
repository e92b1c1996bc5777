! Drapes a unit square with cells of 0.1. The interface module comes with the library, beside drape.h.
program flat_square
    use, intrinsic :: iso_c_binding, only: i4 => c_int32_t, r8 => c_double
    use drape
    implicit none
    integer(i4), parameter :: capacity = 1000
    integer(i4), dimension(capacity) :: link3, link1, link2, link4, nodeI, nodeJ, nodeStatus, nodeTri
    real(r8) :: nodePos(3, capacity), nodeFlat(2, capacity), nodeNormal(3, capacity)
    real(r8), parameter :: vertPos(3, 4) = reshape([0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0], [3, 4])
    integer(i4), parameter :: triVerts(3, 2) = reshape([1, 2, 3, 1, 3, 4], [3, 2])
    integer(i4), parameter :: vertTriStart(4) = [0, 2, 3, 5], vertTriList(6) = [1, 2, 1, 1, 2, 2]
    integer(i4) :: nodeCount, status, ignored

    ignored = gzprp2([0.55_r8, 0.45_r8, 0.0_r8], [1.0_r8, 0.0_r8, 0.0_r8], [0.0_r8, 1.0_r8, 0.0_r8], &
        0.1_r8, 0.1_r8, link3, link1, link2, link4, nodeI, nodeJ, nodeStatus, nodeTri, nodePos, nodeFlat, &
        nodeNormal, capacity, 0, 2, 4, 6, vertTriStart, vertTriList, triVerts, vertPos, [1, 1, 1, 1], &
        nodeCount, 1.0e-6_r8, 1, status)
    print '(a,i0,a,i0,a,i0,a)', 'status ', status, ': ', nodeCount, ' nodes, ', &
        count(nodeStatus(1:nodeCount) == DRAPE_NODE_OPEN), ' of them on the surface'
    if (status /= DRAPE_OK) stop 1
end program flat_square
