"""DokuWiki, which keeps its pages in files."""

import secrets
import shutil
import subprocess

from application import Application, Page, require
from browser import hidden_fields
from servers import give_to_web_user

NEEDS_DATABASE = False

START = """====== The test's wiki ======

A table, a list and a [[missing|page that is missing]].

^ Fruit ^ Price ^
| pear  | 12    |

  * one
    * two

<code php>echo 'highlighted';</code>
"""


def _write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def _hash(password):
    return subprocess.run(["php", "-n", "-r", "echo password_hash($argv[1], PASSWORD_BCRYPT);", password],
                          capture_output=True, text=True, check=True).stdout


def install(folder, _database):
    root = folder / "dokuwiki"
    shutil.copytree("/usr/share/dokuwiki", root)  # follows links to other packages
    settings = root / "conf"
    # The system's own accounts stay where they are.
    shutil.copytree("/etc/dokuwiki", settings, ignore=shutil.ignore_patterns("*.auth.php", "local.php"))
    data = folder / "dokuwiki-data"
    for name in ("attic", "cache", "index", "locks", "log", "media", "media_attic", "media_meta", "meta",
                 "pages", "tmp"):
        (data / name).mkdir(parents=True)
    password = "keeper-" + secrets.token_hex(8)
    account = _hash(password)
    _write(root / "inc/preload.php", f"<?php define('DOKU_CONF', '{settings}/');\n")
    _write(settings / "local.php", f"""<?php
$conf['title'] = 'Test wiki';
$conf['savedir'] = '{data}';
$conf['useacl'] = 1;
$conf['superuser'] = '@admin';
$conf['updatecheck'] = 0;
""")
    _write(settings / "acl.auth.php", "* @ALL 1\n* @user 8\n")
    _write(settings / "users.auth.php", f"keeper:{account}:Keeper:keeper@site.test:admin,user\n")
    _write(data / "pages/start.txt", START)
    for path in (root, data):
        give_to_web_user(path)

    def log_in(browser):
        form = hidden_fields(browser.get("/doku.php?id=start&do=login").body, "p")
        browser.post("/doku.php?id=start", {**form, "do": "login", "u": "keeper", "p": password})
        require(browser.get("/doku.php?id=start"), "Log Out", "the login of DokuWiki")

    return Application(
        root=root,
        pages=[
            Page("/doku.php?id=start", "a list and a"),
            Page("/doku.php?id=missing", "This topic does not exist yet"),
            Page("/doku.php?id=start&do=login", "Username"),
            Page("/doku.php?id=start&do=index", "Sitemap"),
            Page("/doku.php?do=search&id=start&q=pear", "Search"),
            Page("/feed.php", "<title>Test wiki</title>"),
            Page("/lib/exe/css.php?t=dokuwiki", "@media"),
            Page("/lib/exe/js.php?t=dokuwiki", "jQuery"),
        ],
        pages_after_login=[
            Page("/doku.php?id=start&do=edit", "pear  | 12"),
            Page("/doku.php?id=start&do=revisions", "Old Revisions"),
            Page("/doku.php?id=start&do=admin", "Administration"),
            Page("/doku.php?id=start&do=admin&page=usermanager", "keeper@site.test"),
            Page("/doku.php?id=start&do=admin&page=config", "savedir"),
        ],
        log_in=log_in,
        settings={"qmsg.redact": "p"},  # the field of the password
        secrets={"the account's password": password, "the hash of the password": account},
        volatile=(r"\b[0-9a-f]{32}\b", r'taskrunner\.php\?[^"]*'))
