# Turns CHANGELOG.md into a Debian changelog: versions with their day, parts, and items, which may run over lines.
# -v package=NAME -v maintainer="NAME <ADDRESS>"
function finish() {
  if (stamp != "") printf "\n -- %s  %s\n", maintainer, stamp
}

/^## / {
  finish()
  stamp = ""
}
/^## \[?[0-9]/ {
  version = $2
  gsub(/[][]/, "", version)
  command = "date --utc --rfc-email --date=" $4
  command | getline stamp
  close(command)
  printf "%s%s (%s) unstable; urgency=medium\n", separator, package, version
  separator = "\n"
}
stamp == "" { next }  # the introduction, and what is not released
/^### / { printf "\n  [ %s ]\n", $2 }
/^- / { print "  * " substr($0, 3) }
/^  / { print "  " $0 }

END { finish() }
