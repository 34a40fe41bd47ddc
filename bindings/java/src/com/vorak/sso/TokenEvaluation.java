package com.vorak.sso;

/**
 * What an accepted JSON Web Token says.
 *
 * @param payload the payload, JSON
 * @param userId value of the claim that was asked for, as it is spelled in the payload
 */
public record TokenEvaluation(String payload, String userId) {}
