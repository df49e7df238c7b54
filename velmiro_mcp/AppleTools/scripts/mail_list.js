function run(argv) {
  const days = parseInt(argv[0]), limit = parseInt(argv[1]), unreadOnly = argv[2] === 'true';
  const Mail = Application('Mail');
  const since = new Date(Date.now() - days * 86400000);
  const filter = unreadOnly ? {dateReceived: {'>': since}, readStatus: false} : {dateReceived: {'>': since}};
  const found = Mail.inbox.messages.whose(filter)();
  const out = [];
  for (let i = 0; i < found.length && out.length < limit; i++) {
    const m = found[i];
    out.push({id: m.id(), subject: m.subject(), sender: m.sender(), date: m.dateReceived().toISOString(), read: m.readStatus()});
  }
  out.sort((a, b) => a.date < b.date ? 1 : -1);
  return JSON.stringify({messages: out});
}