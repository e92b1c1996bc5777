! Interface module of Drape for Fortran hosts: the four host entry points and the constants that they need.
! Compile this file with the host's own compiler. drape.h is the manual; Fortran passes by reference, so
! every argument goes as it is, and node n is element n of each array. What is declared type(*) is never read.
module drape
    use, intrinsic :: iso_c_binding, only: c_int32_t, c_double
    implicit none
    private :: c_int32_t, c_double

    ! Status codes that a host acts on; docs/status-codes.md has all of them.
    integer(c_int32_t), parameter :: DRAPE_OK = 0
    integer(c_int32_t), parameter :: DRAPE_BOUNDARY_NOT_CLOSED = 4
    integer(c_int32_t), parameter :: DRAPE_CELL_FOLDS = 16
    integer(c_int32_t), parameter :: DRAPE_NOTHING_TO_STEP_FROM = 17
    integer(c_int32_t), parameter :: DRAPE_NODES_FULL = 23
    integer(c_int32_t), parameter :: DRAPE_NORMAL_NOT_UNIT = 24
    integer(c_int32_t), parameter :: DRAPE_SOURCE_TRIANGLE_FLAT = 161
    integer(c_int32_t), parameter :: DRAPE_BAD_ARGUMENT = 201
    integer(c_int32_t), parameter :: DRAPE_BAD_MESH = 202
    integer(c_int32_t), parameter :: DRAPE_NO_CURVE_START = 205
    integer(c_int32_t), parameter :: DRAPE_EMPTY_CURVE_OR_GRID = 206
    integer(c_int32_t), parameter :: DRAPE_NO_MEMORY = 301

    ! Node statuses after a finished run.
    integer(c_int32_t), parameter :: DRAPE_NODE_OPEN = 0
    integer(c_int32_t), parameter :: DRAPE_NODE_CLOSED = -1

    interface
        ! Drape a fibre grid over a surface.
        integer(c_int32_t) function gzprp2(seedPoint, seedDirA, seedDirB, stepA, stepB, link3, link1, link2, &
                link4, nodeI, nodeJ, nodeStatus, nodeTri, nodePos, nodeFlat, nodeNormal, nodeCapacity, &
                reserved, triCount, vertCount, vertTriCount, vertTriStart, vertTriList, triVerts, vertPos, &
                vertBoundary, nodeCount, tolerance, pivotByGridLine, status) bind(c, name="gzprp2")
            import :: c_int32_t, c_double
            real(c_double), intent(in) :: seedPoint(3), seedDirA(3), seedDirB(3), stepA, stepB
            integer(c_int32_t), intent(out) :: link3(*), link1(*), link2(*), link4(*)
            integer(c_int32_t), intent(out) :: nodeI(*), nodeJ(*), nodeStatus(*), nodeTri(*)
            real(c_double), intent(out) :: nodePos(3, *), nodeFlat(2, *), nodeNormal(3, *)
            integer(c_int32_t), intent(in) :: nodeCapacity, triCount, vertCount, vertTriCount
            type(*), intent(in) :: reserved
            integer(c_int32_t), intent(in) :: vertTriStart(*), vertTriList(*), triVerts(3, *)
            real(c_double), intent(in) :: vertPos(3, *)
            integer(c_int32_t), intent(in) :: vertBoundary(*)
            integer(c_int32_t), intent(inout) :: nodeCount
            real(c_double), intent(in) :: tolerance
            integer(c_int32_t), intent(in) :: pivotByGridLine
            integer(c_int32_t), intent(out) :: status
        end function

        ! Carry a closed space curve onto the flat pattern of a finished grid.
        integer(c_int32_t) function gzfttc(link3, link1, link2, link4, spareA, spareB, nodeStatus, nodePos, &
                nodeFlat, spareC, nodeCount, points, directions, pointCount, flatOut, low, high, status) &
                bind(c, name="gzfttc")
            import :: c_int32_t, c_double
            integer(c_int32_t), intent(in) :: link3(*), link1(*), link2(*), link4(*)
            type(*), intent(in) :: spareA(*), spareB(*), spareC(*)
            integer(c_int32_t), intent(in) :: nodeStatus(*)
            real(c_double), intent(in) :: nodePos(3, *), nodeFlat(2, *)
            integer(c_int32_t), intent(in) :: nodeCount
            real(c_double), intent(inout) :: points(3, *), directions(3, *)
            integer(c_int32_t), intent(in) :: pointCount
            real(c_double), intent(inout) :: flatOut(2, *)
            integer(c_int32_t), intent(in) :: low, high
            integer(c_int32_t), intent(out) :: status
        end function

        ! Carry a point from one triangle to another.
        integer(c_int32_t) function nptfpt(source, target, point, mapped, status) bind(c, name="nptfpt")
            import :: c_int32_t, c_double
            real(c_double), intent(in) :: source(3, 3), target(3, 3), point(3)
            real(c_double), intent(inout) :: mapped(3)
            integer(c_int32_t), intent(out) :: status
        end function

        ! Put the items of a directed graph in level order.
        integer(c_int32_t) function gz0zorc(reserved1, reserved2, start, count, inDegree, successorCount, &
                successors, orderedCount, order, status) bind(c, name="gz0zorc")
            import :: c_int32_t
            type(*), intent(in) :: reserved1, reserved2
            integer(c_int32_t), intent(in) :: start, count
            integer(c_int32_t), intent(inout) :: inDegree(*)
            integer(c_int32_t), intent(in) :: successorCount(*), successors(*)
            integer(c_int32_t), intent(out) :: orderedCount
            integer(c_int32_t), intent(inout) :: order(*)
            integer(c_int32_t), intent(out) :: status
        end function
    end interface
end module drape
