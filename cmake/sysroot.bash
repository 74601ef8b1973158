# Sourced by ./test: the libraries of another architecture, unpacked beside the build. The packages of this machine and
# its list of architectures are not touched.

sysroot_packages=(libc6 libgcc-s1 libstdc++6 libjansson4 libjansson-dev rapidjson-dev libgtest-dev libgmock-dev
  libre2-9 libre2-dev libbsd0 libmd0 libtinfo6 libcrypt1 libcrypt-dev)

# make_sysroot ARCHITECTURE FOLDER : does nothing when the folder holds just these packages.
make_sysroot() {
  local architecture=$1 folder=$2 apt
  [ "$(cat "$folder/complete" 2>/dev/null)" = "${sysroot_packages[*]}" ] && return 0
  say "unpacking libraries for $architecture"
  rm -rf "$folder"
  mkdir -p "$folder"/{state/lists/partial,cache/archives/partial,packages,root}
  apt=(apt-get -q -o "APT::Architecture=$architecture" -o "APT::Architectures=$architecture" -o "Dir::State=$folder/state"
    -o "Dir::Cache=$folder/cache" -o Dir::State::status=/dev/null -o APT::Sandbox::User=root)
  "${apt[@]}" update >&2 || say "some package lists could not be read; trying with the others"
  (cd "$folder/packages" && "${apt[@]}" download "${sysroot_packages[@]}") >&2
  for package in "$folder"/packages/*.deb; do
    dpkg -x "$package" "$folder/root"
  done
  rm -rf "$folder/state" "$folder/cache" "$folder/packages"
  echo "${sysroot_packages[*]}" >"$folder/complete"
}
