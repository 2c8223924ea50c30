"""MediaWiki with SQLite."""

import os
import secrets
import shutil
import subprocess

from application import Application, Page, require
from browser import HOST, Browser, hidden_fields
from servers import Served, give_to_web_user

NEEDS_DATABASE = False


def install(folder, _database):
    root = folder / "mediawiki"
    # LocalSettings.php, a link, is there only on a system with a wiki of its own.
    shutil.copytree("/usr/share/mediawiki", root, ignore_dangling_symlinks=True,
                    ignore=shutil.ignore_patterns("LocalSettings.php"))
    data = folder / "mediawiki-data"
    data.mkdir()
    password = "keeper-" + secrets.token_hex(8)
    made = subprocess.run(
        ["php", root / "maintenance/install.php", "--dbtype=sqlite", f"--dbpath={data}", "--dbname=wiki",
         f"--server=http://{HOST}", "--scriptpath=", f"--pass={password}", "Test wiki", "Keeper"],
        capture_output=True, text=True, check=False, timeout=300, env={**os.environ, "HOME": str(folder)})
    assert made.returncode == 0, made.stdout + made.stderr
    settings = root / "LocalSettings.php"
    text = settings.read_text()
    keys = {name: text.split(f'{name} = "')[1].split('"')[0] for name in ("$wgSecretKey", "$wgUpgradeKey")}
    # No page runs what is due.
    settings.write_text(text + f"$wgJobRunRate = 0;\n$wgCacheDirectory = '{data}';\n")
    for path in (root, data):
        give_to_web_user(path)

    def log_in(browser):
        form = hidden_fields(browser.get("/index.php?title=Special:UserLogin").body, "wpPassword")
        browser.post("/index.php?title=Special:UserLogin", {
            **form, "wpName": "Keeper", "wpPassword": password, "wploginattempt": "Log in"})
        require(browser.get("/index.php?title=Main_Page"), "Log out", "the login of MediaWiki")

    with Served(folder, root, {}).running() as server, Browser(server.port) as browser:
        log_in(browser)
        form = hidden_fields(browser.get("/index.php?title=Fruit&action=edit").body, "wpTextbox1")
        browser.post("/index.php?title=Fruit&action=submit", {
            **form, "wpTextbox1": "== Pears ==\nA ''pear'' and a [[quince]].\n* one\n* two\n",
            "wpSummary": "new", "wpSave": "Save page"})
        require(browser.get("/index.php?title=Fruit"), "<i>pear</i>", "a page of MediaWiki")

    return Application(
        root=root,
        pages=[
            Page("/index.php?title=Main_Page", "MediaWiki has been installed"),
            Page("/index.php?title=Fruit", "<i>pear</i>"),
            Page("/index.php?title=Missing", "There is currently no text", 404),
            Page("/index.php?title=Fruit&action=history", "Revision history"),
            Page("/index.php?title=Special:Version", "Test wiki"),
            Page("/index.php?title=Special:AllPages", "Fruit"),
            Page("/index.php?title=Special:Search&search=quince&fulltext=1", "Search results"),
            Page("/api.php?action=query&titles=Fruit&prop=info&format=json", '"title":"Fruit"'),
            Page("/load.php?lang=en&modules=startup&only=scripts&raw=1&skin=vector", "mw.loader"),
        ],
        pages_after_login=[
            Page("/index.php?title=Fruit&action=edit", "wpTextbox1"),
            Page("/index.php?title=Special:Preferences", "Keeper"),
            Page("/index.php?title=Special:RecentChanges", "Recent changes"),
        ],
        log_in=log_in,
        secrets={"the account's password": password,
                 **{f"the variable {name}": value for name, value in keys.items()}},
        volatile=(r"\b20\d{12}\b", r"[0-9a-f]{16,}", r'"wgBackendResponseTime":\d+', r'"wgRequestId":"[^"]*"',
                  r"\d+\.\d+( seconds?| s\b|%)?", r'"timingprofile":\[[^]]*\]',
                  r'"(walltime|ppvisitednodes|timestamp|ttl)":[^,}]*', r"Transclusion expansion[^>]*"))
