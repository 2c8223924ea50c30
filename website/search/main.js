// The search box at the top of every page: a combobox with a list of results.

import { makeFinder } from "./find.js";

function element(tag, properties = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) made.setAttribute(name, value);
  made.append(...children);
  return made;
}

function excerpt(text) {
  return text.length > 110 ? `${text.slice(0, 110).replace(/\s+\S*$/, "")} …` : text;
}

function start(place, entries) {
  const input = element("input", {
    type: "search", role: "combobox", placeholder: "Search", "aria-label": "Search the reference",
    "aria-expanded": "false", "aria-controls": "result-list", "aria-autocomplete": "list",
    autocomplete: "off", spellcheck: "false", enterkeyhint: "go",
  });
  const key = element("kbd", { "aria-hidden": "true" }, "/");
  const list = element("div", { id: "result-list", role: "listbox", "aria-label": "Results" });
  const none = element("p", {}, "Nothing found.");
  const popup = element("div", { id: "results", hidden: "" }, list, none);
  const said = element("p", { class: "hidden", role: "status" });
  place.append(input, key, popup, said);

  let find;
  let chosen = -1;

  const options = () => [...list.children];

  function choose(number) {
    const all = options();
    chosen = all.length === 0 ? -1 : (number + all.length) % all.length;
    all.forEach((option, i) => option.setAttribute("aria-selected", String(i === chosen)));
    if (chosen < 0) input.removeAttribute("aria-activedescendant");
    else {
      input.setAttribute("aria-activedescendant", all[chosen].id);
      all[chosen].scrollIntoView({ block: "nearest" });
    }
  }

  function close() {
    popup.hidden = true;
    input.setAttribute("aria-expanded", "false");
    choose(-1);
    list.replaceChildren();
    said.textContent = "";
  }

  function option(entry, i) {
    const link = element("a",
      { href: entry.url, role: "option", id: `result-${i}`, tabindex: "-1", "aria-selected": "false" },
      element("span", { class: "kind" }, entry.kind),
      element("strong", {}, entry.title), " ",
      element("span", { class: "context" },
        entry.tag ? `${entry.context}, tag ${entry.tag.replace(/(..)(?=.)/g, "$1 ")}` : entry.context),
      " ", element("span", { class: "text" }, excerpt(entry.text)));
    link.addEventListener("click", () => setTimeout(close));
    return link;
  }

  function update() {
    if (input.value.trim() === "") return close();
    find ??= makeFinder(entries);
    const { shown, count } = find(input.value);
    list.replaceChildren(...shown.map(option));
    list.hidden = shown.length === 0;
    none.hidden = shown.length > 0;
    popup.hidden = false;
    input.setAttribute("aria-expanded", String(shown.length > 0));
    choose(shown.length > 0 ? 0 : -1);
    said.textContent =
      count === 0 ? "Nothing found"
      : count > shown.length ? `The best ${shown.length} of ${count} results`
      : count === 1 ? "1 result" : `${count} results`;
  }

  input.addEventListener("input", update);
  input.addEventListener("focus", () => { if (popup.hidden) update(); });
  input.addEventListener("keydown", (event) => {
    if (event.key === "ArrowDown") choose(chosen + 1);
    else if (event.key === "ArrowUp") choose(chosen - 1);
    else if (event.key === "Enter") options()[chosen]?.click();
    else if (event.key === "Escape") {
      if (popup.hidden) input.blur();
      close();
    } else return;
    event.preventDefault();
  });
  place.addEventListener("focusout", (event) => {
    if (!place.contains(event.relatedTarget)) close();
  });
  // Without this, pressing a result moves the focus and closes the list before the click.
  popup.addEventListener("mousedown", (event) => event.preventDefault());

  document.addEventListener("keydown", (event) => {
    const typing = event.target.closest?.("input, textarea, select, [contenteditable]");
    if (event.key === "/" && !typing && !event.ctrlKey && !event.metaKey && !event.altKey) {
      event.preventDefault();
      input.focus({ preventScroll: true });
      input.select();
    }
  });
}

start(document.getElementById("search"), window.qmsgEntries);
