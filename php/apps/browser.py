"""A browser without a screen: one connection that stays open, cookies and forms."""

import html
import http.client
import re
import time
import urllib.parse

HOST = "site.test"  # the same for each port, as applications print it
TIMEOUT = 120  # seconds


class Response:
    def __init__(self, response, seconds):
        self.status = response.status
        self.headers = response.headers
        self.body = response.read().decode("utf-8", "surrogateescape")
        self.seconds = seconds


class Browser:
    def __init__(self, port):
        self._connection = http.client.HTTPConnection("127.0.0.1", port, timeout=TIMEOUT)
        self.cookies = {}

    def close(self):
        self._connection.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def get(self, target):
        return self._request("GET", target, None, {})

    def post(self, target, fields):
        return self._request("POST", target, urllib.parse.urlencode(fields),
                             {"Content-Type": "application/x-www-form-urlencoded"})

    def _request(self, method, target, body, headers):
        headers = {"Host": HOST, "User-Agent": "Browser", **headers}
        if self.cookies:
            headers["Cookie"] = "; ".join(f"{name}={value}" for name, value in self.cookies.items())
        start = time.monotonic()
        self._connection.request(method, target, body, headers)
        answer = self._connection.getresponse()
        response = Response(answer, 0)
        response.seconds = time.monotonic() - start
        for line in response.headers.get_all("Set-Cookie", []):
            name, value = line.split(";")[0].split("=", 1)
            if value == "deleted" or re.search(r"max-age=0\b", line, re.IGNORECASE):
                self.cookies.pop(name, None)
            else:
                self.cookies[name] = value
        return response


def hidden_fields(page, name):
    """The hidden inputs of the form that has a field of this name."""
    [form] = [form for form in re.findall(r"<form\b.*?</form>", page, re.DOTALL)
              if f'name="{name}"' in form]
    fields = {}
    for tag in re.findall(r"<input\b[^>]*>", form):
        attributes = dict(re.findall(r"""([\w-]+)=["']([^"']*)["']""", tag))
        if attributes.get("type") == "hidden" and "name" in attributes:
            fields[attributes["name"]] = html.unescape(attributes.get("value", ""))
    return fields
