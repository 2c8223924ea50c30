// Finds entries by name, then by the bytes of their tag, then by words.

import MiniSearch from "minisearch";

const TAG = /^(?:tag\s+|0x)?([0-9a-f]{2}(?:\s?[0-9a-f]{2})*)$/i;

// A name and its parts: SqlQuery.rows is also SqlQuery, Sql, Query and rows.
function tokens(text) {
  const found = [];
  for (const word of text.split(/[^\p{L}\p{N}_.$]+/u)) {
    const bare = word.replace(/^\.+|\.+$/g, "");
    const names = bare.split(".");
    const parts = names.flatMap((name) =>
      name.replace(/([a-z0-9])([A-Z])/g, "$1 $2").split(/[_ ]+/));
    found.push(...new Set([bare, ...names, ...parts]));
  }
  return found.filter(Boolean);
}

const inWords = {
  tokenize: (text) => text.split(/\s+/).filter(Boolean),
  prefix: (term) => term.length > 1 && !/^\d+$/.test(term),
  fuzzy: (term) => (term.length > 4 ? 0.2 : false),
  boost: { title: 6, names: 3, wire: 3 },
  boostDocument: (_, __, { kind }) => (kind === "message" ? 1.5 : kind === "guide" ? 0.6 : 1),
};

export function makeFinder(entries) {
  const index = new MiniSearch({
    fields: ["title", "names", "context", "wire", "text"],
    storeFields: ["kind"],
    tokenize: tokens,
  });
  index.addAll(entries.map((entry, id) => ({ ...entry, id })));

  // The best entries first.
  return function find(query, most = 12) {
    const text = query.trim();
    const hex = TAG.exec(text)?.[1].replace(/\s/g, "").toLowerCase();
    const name = text.toLowerCase();
    const byName = entries.filter(({ title, names }) =>
      title.toLowerCase() === name || names?.toLowerCase().split(" ").includes(name));
    const byTag = hex ? entries.filter((entry) => entry.tag === hex) : [];
    let hits = index.search(text, { ...inWords, combineWith: "AND" });
    if (hits.length === 0) hits = index.search(text, inWords);
    const byWords = hits.map((hit) => entries[hit.id]);
    const all = [...new Set([...byName, ...byTag, ...byWords])];
    return { shown: all.slice(0, most), count: all.length };
  };
}
