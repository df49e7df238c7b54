// What the stand-in makes of one sample.

import { readFileSync, utimesSync } from 'node:fs';
import { join } from 'node:path';
import { samples } from './support.mjs';

/** When a sample without a date of its own is said to have been written. */
const written = Date.UTC(2026, 1, 1) / 1000;

export async function readMail(home, file) {
    const path = home.mail('cur/1.M1P1.sample:2,S', readFileSync(join(samples, 'mail', file)));
    utimesSync(path, written, written);
    return home.value(`(() => {
        const [m] = Application('Mail').inbox.messages();
        const people = r => ({name: r.name(), address: r.address()});
        return {subject: m.subject(), sender: m.sender(), received: m.dateReceived(), sent: m.dateSent(),
                messageId: m.messageId(), to: m.toRecipients().map(people), cc: m.ccRecipients().map(people),
                content: m.content()};
    })()`);
}

export async function readNote(home, file) {
    home.note(join('Samples', file), readFileSync(join(samples, 'notes', file)));
    return home.value(`(() => {
        const [n] = Application('Notes').notes();
        return {id: n.id(), name: n.name(), folder: n.container().name(), plaintext: n.plaintext().split('\\n')};
    })()`);
}
