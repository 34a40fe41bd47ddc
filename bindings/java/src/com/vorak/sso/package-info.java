/**
 * Evaluates and creates single-sign-on tickets. {@link com.vorak.sso.Sso} is the face for new programs;
 * {@link com.vorak.sso.SSO2Ticket} holds the native methods.
 */
package com.vorak.sso;
