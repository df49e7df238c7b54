function run(argv) {
  const q = argv[0], limit = parseInt(argv[1]);
  const Notes = Application('Notes');
  const found = Notes.notes.whose({_or: [{name: {_contains: q}}, {plaintext: {_contains: q}}]})();
  const out = [];
  for (let i = 0; i < found.length && out.length < limit; i++) {
    const n = found[i];
    out.push({id: n.id(), name: n.name(), folder: n.container().name(),
              modified: n.modificationDate().toISOString(), snippet: n.plaintext().slice(0, 300)});
  }
  return JSON.stringify({notes: out});
}