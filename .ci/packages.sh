# Sourced by demo.sh and test.sh: installs Debian packages, and only those that are missing.

TOOL_PACKAGES=(cmake ninja-build g++ pkg-config libassimp-dev libcgal-dev libcli11-dev nlohmann-json3-dev
               libpugixml-dev libcairo2-dev libpolyclipping-dev zlib1g-dev fonts-dejavu-core python3)

TEST_PACKAGES=("${TOOL_PACKAGES[@]}" ccache clang libclang-rt-dev g++-multilib gfortran binutils valgrind libgtest-dev
               libbenchmark-dev parallel poppler-utils python3-ezdxf)

# Programs that the tests run beside ours; without them the program itself does all but read CAD files.
CAD_PACKAGES=(gmsh)
SOLVER_PACKAGES=(calculix-ccx)

# The Python package, what it's tested with and what its sources are checked with.
PYTHON_PACKAGES=(python3-dev python3-venv python3-pip python3-setuptools python3-wheel python3-numpy python3-pybind11
                 pybind11-dev python3-pytest python3-matplotlib python3-scipy python3-meshio python3-distributed
                 python3-mpi4py openmpi-bin black flake8 mypy)

# The page, and the browser that it's tested in. Whoever has another Node.js keeps it.
WEB_PACKAGES=(cmake ninja-build emscripten node-acorn libcgal-dev libboost-dev nlohmann-json3-dev chromium
              chromium-driver python3-selenium)
command -v node >/dev/null || WEB_PACKAGES+=(nodejs)
command -v npm >/dev/null || WEB_PACKAGES+=(npm)

ensure_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return 0
    fi
    echo "Installing ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
    fi
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q </dev/null
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}" </dev/null
}
