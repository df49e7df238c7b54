function run(argv) {
  const title = argv[0], body = argv[1], folder = argv[2];
  const Notes = Application('Notes');
  const esc = s => s.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');
  const html = '<div><h1>' + esc(title) + '</h1></div>' + body.split('\n').map(l => '<div>' + (esc(l) || '<br>') + '</div>').join('');
  const props = {withProperties: {body: html}};
  let note;
  if (folder) {
    const f = Notes.folders.whose({name: folder})();
    if (f.length === 0) throw new Error('no Notes folder named ' + folder);
    note = Notes.Note({body: html});
    f[0].notes.push(note);
  } else {
    note = Notes.Note({body: html});
    Notes.defaultAccount().defaultFolder().notes.push(note);
  }
  return JSON.stringify({created: true});
}