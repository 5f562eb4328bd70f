# Sourced. Where Debian's packages come from, told by this machine's own apt configuration: mirrors keep working.

# Archive and release of every index that apt knows. Empty until the first `apt-get update`.
debian_indexes() {
  apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT) $(ORIGIN) $(LABEL)' 'Created-By: Packages' |
    awk '$3 == "main" && $4 == "Debian" && $5 == "Debian" { print $1, $2 }'
}

debian_archive() {
  debian_indexes | awk '$2 !~ /-(updates|backports)/ && !found++ { print $1 }'
}
