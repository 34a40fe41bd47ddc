#!/bin/sh
# check_maven.sh POM JAR VERSION
# `mvn install` puts the jar into a repository of its own, without a network where this machine lets us go without one.
set -eu
pom=$1
jar=$2
version=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

without_network="unshare -rn"
$without_network true 2>/dev/null || without_network=""
$without_network mvn -B -q "-Dmaven.repo.local=$work" "-Dquorvanti.jar=$jar" -f "$pom" install
installed=$work/com/vorak/sso/quorvanti/$version/quorvanti-$version
cmp "$jar" "$installed.jar"
grep -q "<packaging>jar</packaging>\|<version>$version</version>" "$installed.pom"
if grep -q "<packaging>pom</packaging>" "$installed.pom"; then
    echo "the published description is not that of a jar" >&2
    exit 1
fi
