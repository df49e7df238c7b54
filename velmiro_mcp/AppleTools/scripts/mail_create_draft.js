function run(argv) {
  const to = JSON.parse(argv[0]), cc = JSON.parse(argv[1]), subject = argv[2], body = argv[3];
  const Mail = Application('Mail');
  const msg = Mail.OutgoingMessage({subject: subject, content: body, visible: false});
  Mail.outgoingMessages.push(msg);
  to.forEach(a => msg.toRecipients.push(Mail.ToRecipient({address: a})));
  cc.forEach(a => msg.ccRecipients.push(Mail.CcRecipient({address: a})));
  msg.save();
  return JSON.stringify({saved_as_draft: true});
}