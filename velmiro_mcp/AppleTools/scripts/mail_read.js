function run(argv) {
  const id = parseInt(argv[0]);
  const Mail = Application('Mail');
  const found = Mail.inbox.messages.whose({id: id})();
  if (found.length === 0) throw new Error('no message with id ' + id + ' in the inbox');
  const m = found[0];
  return JSON.stringify({id: id, subject: m.subject(), sender: m.sender(), date: m.dateReceived().toISOString(),
                         to: m.toRecipients().map(r => r.address()), content: m.content().slice(0, 20000)});
}