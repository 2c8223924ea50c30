#!/usr/bin/env bash
# Records a page of MediaWiki with the PHP extension and prints the report.
# usage: run.sh BUILD   BUILD is a build folder of qmsg with php/qmsg.so and php_request_report
set -euo pipefail

if [[ $# -ne 1 ]]; then
  echo "usage: run.sh BUILD" >&2
  exit 2
fi
build="$(realpath "$1")"
folder="$build/examples/mediawiki"
wiki="$folder/unpacked/usr/share/mediawiki"
records="$folder/page.records"
php=(php -n)
for extension in pdo pdo_sqlite ctype dom fileinfo iconv intl mbstring xml simplexml xmlreader tokenizer; do
  php+=(-d "extension=$extension")
done
if warnings="$("${php[@]}" -r '' 2>&1)" && [[ -n $warnings ]]; then
  printf 'run.sh: MediaWiki needs more of PHP: %s\n' "$warnings" >&2
  echo "On Debian: apt-get install php-cli php-sqlite3 php-intl php-mbstring php-xml" >&2
  exit 1
fi

# Unpacked, not installed: the package would bring a web server with it.
if [[ ! -e $wiki/index.php ]]; then
  echo "Fetching Debian's package of MediaWiki"
  rm -rf "$folder/packages" "$folder/unpacking" "$folder/unpacked"
  mkdir -p "$folder/packages" "$folder/unpacking"
  (cd "$folder/packages" && apt-get download --quiet --quiet --option APT::Sandbox::User=root \
    mediawiki mediawiki-classes)
  for package in "$folder"/packages/*.deb; do
    dpkg-deb --extract "$package" "$folder/unpacking"
  done
  mv "$folder/unpacking" "$folder/unpacked" # as a whole, or not at all
fi

echo "Installing a wiki with a SQLite database in $folder/wiki"
rm -rf "$folder/wiki" "$records"
mkdir -p "$folder/wiki/data"
"${php[@]}" "$wiki/maintenance/install.php" --dbtype=sqlite --dbpath="$folder/wiki/data" --dbname=wiki \
  --confpath="$folder/wiki" --server=http://127.0.0.1 --scriptpath= --pass="$(head -c 12 /dev/urandom | base64)" \
  Wiki Keeper >"$folder/wiki/install.log"

echo "Recording its main page to $records"
MW_CONFIG_FILE="$folder/wiki/LocalSettings.php" "${php[@]}" -d extension="$build/php/qmsg.so" \
  -d zend_extension=opcache -d qmsg.output="file:$records" -d qmsg.functions=sample -S 127.0.0.1:0 -t "$wiki" 2>"$folder/wiki/server.log" &
server=$!
trap 'kill "$server"' EXIT
until address="$(grep -o 'http://[0-9.:]*' "$folder/wiki/server.log")"; do
  if ! kill -0 "$server" 2>/dev/null; then
    cat "$folder/wiki/server.log" >&2
    exit 1
  fi
  sleep 0.1
done
page() {
  # shellcheck disable=SC2016  # The variable is PHP's.
  "${php[@]}" -r 'exit(str_contains(file_get_contents($argv[1]), "MediaWiki has been installed") ? 0 : 1);' \
    "$address/index.php?title=Main_Page"
}
# The first time, PHP compiles the files and MediaWiki fills its caches.
page
rm "$records"
page

echo
"$build/examples/php-request/php_request_report" "$records"
